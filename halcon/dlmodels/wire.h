// Messages of Protocol Buffers in a file, after "Encoding" of their documentation, read front to back through a small
// window. What nobody wants (the weights of a model) is skipped by moving the position of the file, so that a file
// costs what its structure takes, not its size. The file is read, not mapped: one that is cut off meanwhile ends in an
// error, not in a signal.
//
// Accepted is what protobuf's own parser accepts: tags and lengths of up to 5 bytes, numbers of up to 10, fields in any
// order, groups that nobody knows; `nesting` messages and groups within one another.
#ifndef HALCONCPP_DLMODELS_WIRE_H
#define HALCONCPP_DLMODELS_WIRE_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "core/buffer.h"
#include "core/file.h"

namespace HalconCpp::detail {

// Thrown when the bytes are not a message, or when a message is cut off.
struct MalformedMessage {};

enum class WireType : std::uint8_t { Varint, Fixed64, Bytes, GroupStart, GroupEnd, Fixed32 };

struct Field {
  std::uint32_t number;
  WireType type;
  bool is(std::uint32_t other_number, WireType other) const noexcept { return number == other_number && type == other; }
};

class WireReader {
 public:
  // The whole file is the outermost message.
  WireReader(InputFile& file, int nesting)
      : file_(file), end_(file.size()), nesting_(nesting), levels_(nesting), window_(max_window) {}

  // Calls `take` with each field that is left of the current message. It reads the value and returns true, or returns
  // false and leaves the value to be skipped.
  template <class Take>
  void fields(Take take) {
    while (!at_end()) {
      const Field field = next_field();
      if (!take(field)) skip(field);
    }
  }

  // The value of a field of type Bytes as a message: `body` reads it to its end.
  template <class Body>
  void message(Body body) {
    const std::uint64_t outer = enter();
    body();
    leave(outer);
  }

  // The same in steps, for messages within messages: between `enter` and `leave`, which takes the result of `enter`,
  // the current message is the inner one.
  std::uint64_t enter();
  void leave(std::uint64_t outer) noexcept;
  bool at_end() const noexcept { return position() >= end_; }
  Field next_field();

  std::uint64_t varint() { return varint(max_varint); }
  std::uint32_t fixed32() {
    std::uint32_t bits = 0;
    for (int shift = 0; shift < 32; shift += 8) bits |= static_cast<std::uint32_t>(byte()) << shift;
    return bits;
  }
  // The value of a field of type Bytes: its length, then as many bytes by `text` or `skip_bytes`.
  std::size_t length();
  std::string text(std::size_t length);
  void skip_bytes(std::uint64_t count);
  void skip(Field field);
  // The value of a field of type Bytes as numbers: `take` gets each.
  template <class Take>
  void varints(Take take) {
    const std::uint64_t outer = enter_bytes();
    while (!at_end()) take(varint());
    end_ = outer;
  }

  // Goes back to the start of the file, and says whether the outermost fields alone fill it to its end.
  bool outer_fields_fill_file();

 private:
  static constexpr std::size_t min_window = 4096, max_window = 65536;
  static constexpr int max_varint = 10;

  std::uint64_t position() const noexcept { return file_.position() - left_in_window(); }
  std::size_t left_in_window() const noexcept { return static_cast<std::size_t>(window_end_ - at_); }
  std::uint8_t byte() {
    if (at_end()) throw MalformedMessage();
    if (at_ == window_end_) fill_window();
    return static_cast<std::uint8_t>(*at_++);
  }
  void fill_window();
  std::uint64_t varint(int max_bytes);
  std::uint64_t enter_bytes();
  void skip_value(Field field);
  void skip_group(std::uint32_t number);
  void descend();

  InputFile& file_;
  std::uint64_t end_;  // of the current message, in the file
  int max_short_ = 5;  // bytes of a tag or a length
  const int nesting_;
  int levels_;  // that may still be entered
  Buffer<std::byte> window_;
  const std::byte* at_ = nullptr;
  const std::byte* window_end_ = nullptr;
  std::size_t next_window_ = min_window;  // grows while nothing is skipped
};

}  // namespace HalconCpp::detail

#endif
