// UTF-8, UTF-16 and UTF-32 (The Unicode Standard, sections 3.9 and 3.10). What is ill-formed becomes U+FFFD: each byte
// that starts no character, each unit that is half a surrogate pair, each number above U+10FFFF.
//
// A `Unit` of 16 bits holds UTF-16, one of 32 bits UTF-32: wchar_t is the one on Windows and the other elsewhere.
#ifndef QUOVEL_UNICODE_H
#define QUOVEL_UNICODE_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace unicode {

inline constexpr char32_t replacement = 0xFFFD;
inline constexpr std::size_t max_utf8_length = 4;

inline bool is_surrogate(char32_t c) noexcept { return c >= 0xD800 && c <= 0xDFFF; }

// The length of the character at `at`, which is not `end`, and the character; 0 when none starts there.
inline std::size_t read_utf8(const char* at, const char* end, char32_t& c) noexcept {
  const auto first = static_cast<unsigned char>(*at);
  c = first;
  if (first < 0x80) return 1;
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || static_cast<std::size_t>(end - at) < length) return 0;
  c &= 0xFFu >> (length + 1);
  for (std::size_t i = 1; i < length; ++i) {
    if ((at[i] & 0xC0) != 0x80) return 0;
    c = c << 6 | (static_cast<unsigned char>(at[i]) & 0x3Fu);
  }
  const bool overlong = (length == 3 && c < 0x800) || (length == 4 && c < 0x10000);
  return overlong || is_surrogate(c) || c > 0x10FFFF ? 0 : length;
}

// The same for UTF-16 and UTF-32, where every unit gives a character.
template <class Unit>
char32_t next_character(const Unit*& at, const Unit* end) noexcept {
  auto c = static_cast<char32_t>(*at++);
  if constexpr (sizeof(Unit) == 2) {
    c &= 0xFFFF;
    if (c >= 0xD800 && c < 0xDC00 && at != end && (*at & 0xFC00) == 0xDC00)
      return 0x10000 + ((c - 0xD800) << 10) + (static_cast<char32_t>(*at++) & 0x3FF);
  }
  return is_surrogate(c) || c > 0x10FFFF ? replacement : c;
}

// Writes at most max_utf8_length bytes and returns how many.
inline std::size_t write_utf8(char32_t c, char* out) noexcept {
  char* const begin = out;
  const auto continuation = [&](int shift) { *out++ = static_cast<char>(0x80 | (c >> shift & 0x3F)); };
  if (is_surrogate(c) || c > 0x10FFFF) c = replacement;
  if (c < 0x80) {
    *out++ = static_cast<char>(c);
  } else if (c < 0x800) {
    *out++ = static_cast<char>(0xC0 | c >> 6);
  } else if (c < 0x10000) {
    *out++ = static_cast<char>(0xE0 | c >> 12);
    continuation(6);
  } else {
    *out++ = static_cast<char>(0xF0 | c >> 18);
    continuation(12);
    continuation(6);
  }
  if (c >= 0x80) continuation(0);
  return static_cast<std::size_t>(out - begin);
}

inline void append_utf8(std::string& text, char32_t c) {
  char bytes[max_utf8_length];
  text.append(bytes, write_utf8(c, bytes));
}

// Writes one unit, or a surrogate pair where units have 16 bits; returns where the next one goes.
template <class Unit>
Unit* write_units(char32_t c, Unit* out) noexcept {
  if (sizeof(Unit) == 2 && c > 0xFFFF) {
    *out++ = static_cast<Unit>(0xD800 + ((c - 0x10000) >> 10));
    c = 0xDC00 + (c & 0x3FF);
  }
  *out++ = static_cast<Unit>(c);
  return out;
}

inline bool is_ascii(const char* eight_bytes) noexcept {
  std::uint64_t word;
  std::memcpy(&word, eight_bytes, sizeof word);
  return (word & 0x8080808080808080u) == 0;
}

// The number of bytes before the first that is not UTF-8.
inline std::size_t valid_utf8_length(std::string_view text) noexcept {
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at != end) {
    if (end - at >= 8 && is_ascii(at)) {
      at += 8;
      continue;
    }
    char32_t c;
    const std::size_t length = read_utf8(at, end, c);
    if (length == 0) break;
    at += length;
  }
  return static_cast<std::size_t>(at - text.data());
}

inline bool is_utf8(std::string_view text) noexcept { return valid_utf8_length(text) == text.size(); }

// Converts a text and returns the number of units, at most text.size().
template <class Unit>
std::size_t to_units(std::string_view text, Unit* out) noexcept {
  const char* at = text.data();
  const char* const end = at + text.size();
  Unit* const begin = out;
  while (at != end) {
    // Most texts are ASCII. In this form compilers turn the loop into vector instructions.
    for (; end - at >= 16 && is_ascii(at) && is_ascii(at + 8); at += 16, out += 16)
      for (int i = 0; i < 16; ++i) out[i] = static_cast<Unit>(at[i]);
    for (int i = 0; i < 16 && at != end; ++i) {
      char32_t c;
      const std::size_t length = read_utf8(at, end, c);
      out = write_units(length > 0 ? c : replacement, out);
      at += length > 0 ? length : 1;
    }
  }
  return static_cast<std::size_t>(out - begin);
}

template <class Unit>
std::string to_utf8(std::basic_string_view<Unit> text) {
  std::string result;
  result.reserve(text.size());
  const Unit* const end = text.data() + text.size();
  for (const Unit* at = text.data(); at != end;) append_utf8(result, next_character(at, end));
  return result;
}

}  // namespace unicode

#endif
