// The files that the works open, in a folder that is removed after the run.
#ifndef QUOVEL_BENCH_FILES_H
#define QUOVEL_BENCH_FILES_H

#include <memory>
#include <string>
#include <string_view>

#include "quovel_adapter_2411/quovel_adapter.h"

namespace bench {

// One at a time; `path_of` names files in it.
class Folder {
 public:
  Folder();
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
};

std::string path_of(std::string_view name);
void write_file(const std::string& path, std::string_view content);
// The path as the library takes it.
std::u16string wide(const std::string& path);
std::string read_file(const std::string& path);

struct EndReader {
  void operator()(qv_reader* reader) const noexcept { qv_reader_destroy(reader); }
};
using Reader = std::unique_ptr<qv_reader, EndReader>;
Reader new_reader();

// These stop the program with the library's message when a file does not open.
const qv_node* open_dict(qv_reader* reader, const std::string& path);
const qv_node* open_objects(qv_reader* reader, const std::string& path);
// Writes one dictionary file as another.
void convert(const std::string& from, const std::string& to);
// A Reader whose tree is the object file, and the node of its first object.
struct OpenObject {
  Reader reader;
  const qv_node* node;
};
OpenObject open_first_object(const std::string& path);

// Stops the program when something that cannot fail has failed.
void require(bool held, const char* what);

}  // namespace bench

#endif
