// Writes JSON piece by piece, through a block that is flushed when it is full.
#ifndef QUOVEL_HOST_JSON_OUTPUT_H
#define QUOVEL_HOST_JSON_OUTPUT_H

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "quovel_adapter_2411/quovel_adapter.h"

namespace host {

// The caller writes commas and brackets. After flush() the error flag of the stream tells whether anything was lost.
class JsonOutput {
 public:
  explicit JsonOutput(std::FILE* out) : out_(out) {}

  // Unchanged text, at most one block long.
  void raw(std::string_view text) {
    make_room(text.size());
    std::memcpy(block_.data() + used_, text.data(), text.size());
    used_ += text.size();
  }
  // A text between quotes, of any length. Characters that control a terminal are escaped.
  // Bytes that are not UTF-8 become U+FFFD.
  void string(std::string_view utf8);
  void string(const qv_char* text);
  void integer(std::int64_t value);
  // JSON has no infinity and no NaN: they become null.
  void real(double value);
  void flush();

 private:
  // The length of any number and of any single character is less.
  static constexpr std::size_t max_piece = 32;

  void make_room(std::size_t size) {
    if (block_.size() - used_ < size) flush();
  }
  void escape(char32_t c);
  void character(char32_t c);

  std::FILE* out_;
  std::size_t used_ = 0;
  std::array<char, 1 << 16> block_;
};

}  // namespace host

#endif
