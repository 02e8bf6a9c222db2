#include "container/stream.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "core/failure.h"

namespace HalconCpp::detail::container {

namespace {

// Fits in a processor's cache, where the checksum finds it. Large arrays go in pieces of this size between file and
// destination, without a copy in the buffer.
constexpr std::size_t piece = std::size_t{64} << 10;
static_assert(piece % Checksum::block == 0);

}  // namespace

Reader::Reader(std::string_view path) : file_(path), buffer_(piece) {
  if (file_.size() < sizeof(std::uint64_t)) fail("the file ends too early");
}

void Reader::read(void* to, std::size_t bytes) {
  if (bytes > left()) fail("the file ends too early");
  auto* out = static_cast<std::byte*>(to);
  while (bytes > 0) {
    std::size_t count = bytes;
    if (at_ == end_ && bytes >= piece) {
      read_piece(out, count = piece);
    } else {
      if (at_ == end_) {
        end_ = static_cast<std::size_t>(std::min<std::uint64_t>(piece, left()));
        at_ = 0;
        read_piece(buffer_.data(), end_);
      }
      count = std::min(bytes, end_ - at_);
      std::memcpy(out, buffer_.data() + at_, count);
      at_ += count;
    }
    out += count;
    bytes -= count;
  }
}

void Reader::read_piece(std::byte* to, std::size_t bytes) {
  file_.read(to, bytes);
  checksum_.add(to, bytes);
}

std::size_t Reader::count(std::size_t bytes_each) {
  const auto number = value<std::uint64_t>();
  if (number > left() / bytes_each)
    fail("declares " + std::to_string(number) + " elements where only " + std::to_string(left()) + " bytes follow");
  return static_cast<std::size_t>(number);
}

void Reader::finish() {
  if (left() > 0) fail(std::to_string(left()) + " bytes follow the content");
  std::uint64_t expected;
  file_.read(&expected, sizeof expected);
  if (expected != checksum_.value()) fail("the file is damaged: its checksum does not match its content");
}

Writer::Writer(std::string_view path) : file_(path), buffer_(piece) {}

void Writer::write(const void* from, std::size_t bytes) {
  const auto* in = static_cast<const std::byte*>(from);
  while (bytes > 0) {
    std::size_t count = piece;
    if (used_ == 0 && bytes >= piece) {
      write_piece(in, piece);
    } else {
      count = std::min(bytes, piece - used_);
      std::memcpy(buffer_.data() + used_, in, count);
      used_ += count;
      if (used_ == piece) write_piece(buffer_.data(), std::exchange(used_, 0));
    }
    in += count;
    bytes -= count;
  }
}

void Writer::write_piece(const std::byte* from, std::size_t bytes) {
  file_.write(from, bytes);
  checksum_.add(from, bytes);
}

void Writer::finish() {
  write_piece(buffer_.data(), used_);
  const std::uint64_t sum = checksum_.value();
  file_.write(&sum, sizeof sum);
  file_.commit();
}

}  // namespace HalconCpp::detail::container
