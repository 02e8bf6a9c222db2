// JSON as it is written: pieces in their order, put into a block that goes out when it is full.
#ifndef QUOVEL_HOST_JSON_OUTPUT_H
#define QUOVEL_HOST_JSON_OUTPUT_H

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "quovel_adapter_2411/quovel_adapter.h"

namespace host {

// Commas and brackets are the caller's. What gets lost shows in the stream's error flag, once flush() has been called.
class JsonOutput {
 public:
  explicit JsonOutput(std::FILE* out) : out_(out) {}

  // As it stands; no more than fits into a block.
  void raw(std::string_view text) {
    make_room(text.size());
    std::memcpy(block_.data() + used_, text.data(), text.size());
    used_ += text.size();
  }
  // A text between quotes, of any length.
  void string(std::string_view utf8);
  void string(const qv_char* text);
  void integer(std::int64_t value);
  // JSON has no infinity and no NaN: null stands for them.
  void real(double value);
  void flush();

 private:
  // No number and no single character is longer.
  static constexpr std::size_t longest = 32;

  void make_room(std::size_t size) {
    if (block_.size() - used_ < size) flush();
  }
  // A character that JSON does not take as it stands.
  void escape(char c);

  std::FILE* out_;
  std::size_t used_ = 0;
  std::array<char, 1 << 16> block_;
};

}  // namespace host

#endif
