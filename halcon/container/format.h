// The bytes of a container, a format of our own. All numbers are little-endian.
//
//   file     = "QVHALCON" version:u8 root:HandleKind body checksum:u64
//   body     = objects (when the root is None), otherwise count:u64 part*count; the last part is the root
//   part     = kind:HandleKind content; a part comes before the part that refers to it, and each but the last is
//              referred to exactly once: what is read is a tree, whatever the file says
//   tuple    = tag:Tag values; a handle is the number of its part plus 1, or 0 when it is empty
//   table    = tuple of keys, then per key a tuple or Tag::Objects and objects
//   objects  = count:u64, then per object its class:u8 and content
//
// A count precedes the elements it counts and is compared with the bytes left in the file before memory is allocated.
// There is no compact form for equal elements, so a file never expands to much more than its size.
#ifndef HALCONCPP_CONTAINER_FORMAT_H
#define HALCONCPP_CONTAINER_FORMAT_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace HalconCpp::detail::container {

static_assert(std::endian::native == std::endian::little, "numbers are copied between memory and file");

inline constexpr std::string_view magic = "QVHALCON";
inline constexpr std::uint8_t version = 1;

enum class HandleKind : std::uint8_t { None, Dict, Matrix, Model3d, DlModel };

enum class Tag : std::uint8_t {
  Empty,
  Integer,     // i64
  Real,        // f64
  String,      // count of bytes, UTF-8
  Handle,      // number of the part plus 1
  Integers,    // count, i64 each
  Integers32,  // count, i32 each
  Reals,       // count, f64 each
  Strings,     // count, total bytes, the u32 length of each, the bytes of all
  Mixed,       // count, then elements: tuples of one
  Objects,     // in tables only
};

// Differs whenever a single word of the file differs. Bytes come in multiples of `block` bytes, except the last ones of
// a file. Four independent sums let a processor work on four words at a time.
class Checksum {
 public:
  static constexpr std::size_t block = 32;

  void add(const std::byte* bytes, std::size_t count) noexcept {
    size_ += count;
    for (; count >= block; bytes += block, count -= block) add_block(bytes);
    if (count == 0) return;
    std::byte last[block] = {};
    std::memcpy(last, bytes, count);
    add_block(last);
  }
  std::uint64_t value() const noexcept {
    std::uint64_t result = size_;
    for (const std::uint64_t sum : sums_) result = mix(result, sum);
    return result;
  }

 private:
  // One-to-one for a given sum: the factor is odd.
  static std::uint64_t mix(std::uint64_t sum, std::uint64_t word) noexcept {
    return std::rotl(sum ^ word, 29) * 0x9E3779B97F4A7C15u;
  }
  void add_block(const std::byte* bytes) noexcept {
    std::uint64_t words[4];
    std::memcpy(words, bytes, block);
    for (int i = 0; i < 4; ++i) sums_[i] = mix(sums_[i], words[i]);
  }

  std::uint64_t sums_[4] = {1, 2, 3, 4};
  std::uint64_t size_ = 0;
};

}  // namespace HalconCpp::detail::container

#endif
