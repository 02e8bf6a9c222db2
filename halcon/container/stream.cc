#include "container/stream.h"

#include <algorithm>

#include "core/failure.h"

namespace HalconCpp::detail::container {

namespace {

// Larger pieces would leave the cache before they are summed up.
constexpr std::size_t piece = std::size_t{64} << 10;
static_assert(piece % Checksum::block == 0);

}  // namespace

Reader::Reader(std::string_view path) : file_(path), buffer_(piece) {
  if (file_.size() < sizeof(std::uint64_t)) fail("the file ends too early");
}

void Reader::read(void* to, std::size_t bytes) {
  if (bytes > left()) fail("the file ends too early");
  auto* out = static_cast<std::byte*>(to);
  if (bytes > end_ - at_) {
    const std::size_t ready = end_ - at_;
    if (ready > 0) std::memcpy(out, buffer_.data() + at_, ready);
    out += ready;
    bytes -= ready;
    at_ = end_;
    const std::size_t direct = bytes >= piece ? bytes / Checksum::block * Checksum::block : 0;
    read_directly(out, direct);
    out += direct;
    bytes -= direct;
    refill();
  }
  if (bytes > 0) std::memcpy(out, buffer_.data() + at_, bytes);
  at_ += bytes;
}

void Reader::read_directly(std::byte* to, std::size_t bytes) {
  for (std::size_t done = 0; done < bytes;) {
    const std::size_t size = std::min(piece, bytes - done);
    file_.read(to + done, size);
    checksum_.add(to + done, size);
    done += size;
  }
}

void Reader::refill() {
  end_ = static_cast<std::size_t>(std::min<std::uint64_t>(piece, file_.left() - sizeof(std::uint64_t)));
  at_ = 0;
  file_.read(buffer_.data(), end_);
  checksum_.add(buffer_.data(), end_);
}

std::size_t Reader::count(std::size_t bytes_each) {
  const auto number = value<std::uint64_t>();
  if (number > left() / bytes_each)
    fail("claims " + std::to_string(number) + " elements where only " + std::to_string(left()) + " bytes follow");
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
  if (bytes > piece - used_) {
    const std::size_t fitting = piece - used_;
    std::memcpy(buffer_.data() + used_, in, fitting);
    write_out(buffer_.data(), piece);
    used_ = 0;
    in += fitting;
    bytes -= fitting;
    const std::size_t direct = bytes >= piece ? bytes / Checksum::block * Checksum::block : 0;
    write_out(in, direct);
    in += direct;
    bytes -= direct;
  }
  if (bytes > 0) std::memcpy(buffer_.data() + used_, in, bytes);
  used_ += bytes;
}

void Writer::write_out(const std::byte* from, std::size_t bytes) {
  for (std::size_t done = 0; done < bytes;) {
    const std::size_t size = std::min(piece, bytes - done);
    file_.write(from + done, size);
    checksum_.add(from + done, size);
    done += size;
  }
}

void Writer::finish() {
  write_out(buffer_.data(), used_);
  const std::uint64_t sum = checksum_.value();
  file_.write(&sum, sizeof sum);
  file_.commit();
}

}  // namespace HalconCpp::detail::container
