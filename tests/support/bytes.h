// Files laid out byte by byte.
#ifndef QUOVEL_TESTS_SUPPORT_BYTES_H
#define QUOVEL_TESTS_SUPPORT_BYTES_H

#include <cstddef>
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

// The part again and again, until that many bytes are there.
inline std::string repeated(const std::string& part, std::size_t bytes) {
  std::string all;
  while (all.size() < bytes) all += part;
  return all;
}

// Protocol buffers (the format of ONNX): a number, and a field of that number that holds bytes.
inline std::string varint(std::uint64_t value) {
  std::string bytes;
  for (; value >= 128; value >>= 7) bytes += static_cast<char>(value | 128);
  return bytes + static_cast<char>(value);
}
inline std::string message(int field, const std::string& bytes) {
  return varint(static_cast<unsigned>(field) << 3 | 2) + varint(bytes.size()) + bytes;
}

// A JPEG 2000 codestream of one component in which nothing is coded: tiles of one packet each.
inline std::string blank_codestream(unsigned width, unsigned height, unsigned tile, unsigned tiles) {
  using namespace std::string_literals;
  std::string stream = "\xff\x4f\xff\x51"s + be({41, 0}, 2) + be({width, height, 0, 0, tile, tile, 0, 0}) +
                       "\0\1\7\1\1\xff\x52\0\x0c\0\0\0\1\0\0\4\4\0\1\xff\x5c\0\4\x40\x40"s;
  for (unsigned i = 0; i < tiles; ++i) stream += "\xff\x90\0\x0a"s + be({i}, 2) + "\0\0\0\x0f\0\1\xff\x93\0"s;
  return stream + "\xff\xd9";
}

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
