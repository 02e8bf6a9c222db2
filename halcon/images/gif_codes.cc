#include "images/gif_codes.h"

#include <cstdint>

#include "core/failure.h"

namespace HalconCpp::detail {

namespace {

constexpr unsigned max_width = 12, narrow_size = 8, widest_size = max_width - 1;

// The data bytes of a chain of sub-blocks, without their sizes.
class DataBytes {
 public:
  explicit DataBytes(std::span<std::byte> blocks) : blocks_(blocks) {}
  // Null at the end of the chain or of the file.
  std::byte* next() {
    if (left_ == 0) {
      if (at_ >= blocks_.size() || blocks_[at_] == std::byte{0}) return nullptr;
      left_ = static_cast<std::size_t>(blocks_[at_++]);
    }
    --left_;
    return at_ < blocks_.size() ? &blocks_[at_++] : nullptr;
  }

 private:
  std::span<std::byte> blocks_;
  std::size_t at_ = 0, left_ = 0;
};

// How wide the next code is: each code but the first after a Clear code adds one to the table.
class CodeWidth {
 public:
  explicit CodeWidth(unsigned size) : size_(size) { clear(); }
  unsigned width() const { return width_; }
  void clear() {
    next_ = (1U << size_) + 1;
    width_ = size_ + 1;
  }
  void count() {
    if (next_ < 1U << max_width) ++next_;
    if (next_ == 1U << width_ && width_ < max_width) ++width_;
  }

 private:
  unsigned size_, next_, width_;
};

class Narrower {
 public:
  Narrower(std::span<std::byte> blocks, unsigned size) : clear_(1U << size), from_(blocks), to_(blocks), wide_(size) {}

  void run() {
    for (unsigned code; read(code);) {
      if (code > 255 && code < clear_) fail("a color beyond its palette: the file is damaged");
      const unsigned mapped = code < clear_ ? code : code - clear_ + narrow_clear;
      if (mapped == narrow_clear + 1) break;
      write(mapped);
      for (CodeWidth* each : {&wide_, &narrow_}) mapped == narrow_clear ? each->clear() : each->count();
    }
    write(narrow_clear + 1);  // End of Information, which the file may lack; old codes follow
    write(0);                 // the last bits
  }

 private:
  static constexpr unsigned narrow_clear = 1U << narrow_size;

  bool read(unsigned& code) {
    for (; read_bits_ < wide_.width(); read_bits_ += 8) {
      const std::byte* byte = from_.next();
      if (!byte) return false;
      pending_read_ |= static_cast<std::uint32_t>(*byte) << read_bits_;
    }
    code = pending_read_ & ((1U << wide_.width()) - 1);
    pending_read_ >>= wide_.width();
    read_bits_ -= wide_.width();
    return true;
  }

  void write(unsigned code) {
    pending_written_ |= code << written_bits_;
    for (written_bits_ += narrow_.width(); written_bits_ >= 8; written_bits_ -= 8, pending_written_ >>= 8)
      if (std::byte* byte = to_.next()) *byte = static_cast<std::byte>(pending_written_ & 255);
  }

  unsigned clear_;
  DataBytes from_, to_;
  CodeWidth wide_, narrow_{narrow_size};
  std::uint32_t pending_read_ = 0, pending_written_ = 0;
  unsigned read_bits_ = 0, written_bits_ = 0;
};

}  // namespace

void narrow_codes(std::span<std::byte> picture) {
  if (picture.empty()) return;
  const auto size = static_cast<unsigned>(picture[0]);
  if (size <= narrow_size || size > widest_size) return;
  picture[0] = std::byte{narrow_size};
  Narrower(picture.subspan(1), size).run();
}

}  // namespace HalconCpp::detail
