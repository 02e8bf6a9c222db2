// Files laid out byte by byte.
#ifndef QUOVEL_TESTS_SUPPORT_BYTES_H
#define QUOVEL_TESTS_SUPPORT_BYTES_H

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace test {

// Numbers of `width` bytes, little-endian and big-endian.
inline std::string le(std::initializer_list<std::int64_t> values, int width = 4) {
  std::string text;
  for (const std::int64_t value : values)
    for (int i = 0; i < width; ++i) text += static_cast<char>(value >> 8 * i);
  return text;
}
inline std::string be(std::initializer_list<std::int64_t> values, int width = 4) {
  std::string text;
  for (const std::int64_t value : values)
    for (int i = width; i-- > 0;) text += static_cast<char>(value >> 8 * i);
  return text;
}
inline std::string bytes(std::initializer_list<std::int64_t> values) { return le(values, 1); }

// The checksum of PNG, and of the corpus.
inline std::uint32_t crc32(std::string_view text) {
  std::uint32_t crc = ~0u;
  for (const char c : text) {
    crc ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320u : 0);
  }
  return ~crc;
}

}  // namespace test

#endif
