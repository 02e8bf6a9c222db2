// The characters of an HString and of a string element of a tuple, which all copies share.
#ifndef HALCONCPP_CORE_STRING_DATA_H
#define HALCONCPP_CORE_STRING_DATA_H

#include <atomic>
#include <cstdint>
#include <string_view>

#include "HalconCpp.h"

namespace HalconCpp::detail {

// The characters follow the record in the same allocation, UTF-8 and NUL-terminated. A text whose `references` have the
// bit `permanent` is never destroyed and not counted: names that a million tuples share would otherwise spend more time
// on counting than on all else.
struct StringData {
  static constexpr std::uint32_t permanent = std::uint32_t{1} << 31;
  // It was allocated with others (core/string_blocks.h).
  static constexpr std::uint32_t in_block = std::uint32_t{1} << 30;

  mutable std::atomic<std::uint32_t> references{1};
  std::uint32_t length;
  mutable std::atomic<const wchar_t*> wide{nullptr};  // made on first use

  char* text() noexcept { return reinterpret_cast<char*>(this + 1); }
  const char* text() const noexcept { return reinterpret_cast<const char*>(this + 1); }
};

inline std::string_view text_of(const StringData* data) noexcept {
  return data ? std::string_view(data->text(), data->length) : std::string_view();
}

// A text of one reference; null for the empty one. Text that is not UTF-8 is taken as Latin-1 by `new_string`; the
// caller of `new_valid_string` has checked it. A text ends at its first NUL. 4 GiB and more is std::bad_alloc.
const StringData* new_string(std::string_view narrow);
const StringData* new_valid_string(std::string_view utf8);
// Writes a text of one reference and the bit `kind` to `memory`, which is large enough.
const StringData* write_string(void* memory, std::string_view utf8, std::uint32_t kind) noexcept;
// A valid text, not empty, that is never freed.
const StringData* new_permanent_string(std::string_view utf8);

}  // namespace HalconCpp::detail

#endif
