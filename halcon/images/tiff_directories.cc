#include "images/tiff_directories.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "core/failure.h"
#include "core/limits.h"

namespace HalconCpp::detail {

namespace {

// Numbers of a TIFF file, in the byte order that its header names. Beyond the end of the file all bytes are 0.
class Numbers {
 public:
  explicit Numbers(Bytes file) : file_(file), big_endian_(byte(0) == 'M') {}

  std::uint64_t at(std::uint64_t offset, unsigned bytes) const {
    std::uint64_t value = 0;
    for (unsigned i = 0; i < bytes; ++i) value = value << 8 | byte(offset + (big_endian_ ? i : bytes - 1 - i));
    return value;
  }

 private:
  std::uint64_t byte(std::uint64_t offset) const {
    return offset < file_.size() ? std::to_integer<std::uint64_t>(file_[static_cast<std::size_t>(offset)]) : 0;
  }

  Bytes file_;
  bool big_endian_;
};

// Each image may come with a thumbnail or a mask.
constexpr std::uint64_t max_directories = 2 * limits::file_images;

// Bytes of one value, by the number of its type; 0 for those that do not exist.
std::uint64_t value_bytes(std::uint64_t type) {
  constexpr std::array<std::uint64_t, 19> sizes{0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};
  return type < sizes.size() ? sizes[static_cast<std::size_t>(type)] : 0;
}

}  // namespace

void check_tiff_directories(Bytes file) {
  const Numbers numbers(file);
  const bool big = numbers.at(2, 2) == 43;  // BigTIFF: counts and offsets of 8 bytes
  const unsigned wide = big ? 8 : 4, count_bytes = big ? 8 : 2, entry_bytes = 4 + 2 * wide;
  const std::uint64_t max = std::max<std::uint64_t>(limits::decoded_free, 16 * file.size());
  std::uint64_t total = 0, directories = 0;
  for (std::uint64_t at = numbers.at(big ? 8 : 4, wide); at != 0 && at < file.size();) {
    if (++directories > max_directories) fail("has more than " + std::to_string(max_directories) + " directories");
    const std::uint64_t entries = std::min(numbers.at(at, count_bytes), file.size() / entry_bytes);
    at += count_bytes;
    for (std::uint64_t i = 0; i < entries; ++i, at += entry_bytes) {
      const std::uint64_t count = std::min<std::uint64_t>(numbers.at(at + 4, wide), file.size());
      total += entry_bytes + count * value_bytes(numbers.at(at + 2, 2));
      if (total > max)
        fail("its directories name more than " + std::to_string(max) + " bytes of values, too many for the file");
    }
    at = numbers.at(at, wide);
  }
}

}  // namespace HalconCpp::detail
