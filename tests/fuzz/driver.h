// What the fuzz targets share: every kind of file goes the same way through the exported functions once it is open.
#ifndef QUOVEL_FUZZ_DRIVER_H
#define QUOVEL_FUZZ_DRIVER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "support/host.h"

namespace fuzz {

// Stops the process when a promise of the host interface is broken.
void require(bool kept, const char* promise);

// The folder of this process's files, with the path of a name in it.
std::string in_folder(std::string_view name);
// Makes or replaces a file there; its path.
std::string put(std::string_view name, std::string_view content);

// `input` without its last byte, which chooses a variant of the target.
struct Choice {
  std::string_view content;
  std::uint8_t way = 0;
};
Choice choose(std::string_view input);

// The Reader of this process.
const test::Reader& reader();

// A parse has given `root`: reads everything from it, extracts, saves and writes again.
void use(const qv_node* root);
// The same for a dictionary file, which is also converted; without options what was written must show the same tree.
void use_dict(const qv_node* root, const std::string& path, bool with_options);

inline std::string_view text(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

}  // namespace fuzz

// One target: a function of the input.
#define FUZZ_TARGET(input)                                                            \
  static void run(std::string_view input);                                            \
  extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);  \
  extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) { \
    run(fuzz::text(data, size));                                                      \
    return 0;                                                                         \
  }                                                                                   \
  static void run(std::string_view input)

#endif
