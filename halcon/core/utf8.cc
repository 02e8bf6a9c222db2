#include "core/utf8.h"

#include <cstdint>
#include <cstring>

namespace HalconCpp::detail {

namespace {

using Byte = unsigned char;

constexpr char32_t replacement = 0xFFFD;

bool is_continuation(Byte b) { return (b & 0xC0) == 0x80; }
bool is_surrogate(char32_t c) { return c >= 0xD800 && c <= 0xDFFF; }

// The length of the well-formed character that starts at `at`, 0 when there is none.
std::size_t character_length(const Byte* at, const Byte* end) {
  const auto left = static_cast<std::size_t>(end - at);
  const Byte b = at[0];
  if (b < 0x80) return 1;
  if (b < 0xC2) return 0;
  if (b < 0xE0) return left >= 2 && is_continuation(at[1]) ? 2 : 0;
  if (b < 0xF0) {
    if (left < 3 || !is_continuation(at[1]) || !is_continuation(at[2])) return 0;
    if (b == 0xE0 && at[1] < 0xA0) return 0;  // overlong
    if (b == 0xED && at[1] > 0x9F) return 0;  // surrogate
    return 3;
  }
  if (b > 0xF4 || left < 4) return 0;
  if (!is_continuation(at[1]) || !is_continuation(at[2]) || !is_continuation(at[3])) return 0;
  if (b == 0xF0 && at[1] < 0x90) return 0;  // overlong
  if (b == 0xF4 && at[1] > 0x8F) return 0;  // above U+10FFFF
  return 4;
}

// Reads one character of well-formed UTF-8 and moves on.
char32_t next_character(const Byte*& at) {
  const Byte b = *at++;
  if (b < 0x80) return b;
  if (b < 0xE0) {
    const char32_t c = (b & 0x1Fu) << 6 | (at[0] & 0x3Fu);
    at += 1;
    return c;
  }
  if (b < 0xF0) {
    const char32_t c = (b & 0x0Fu) << 12 | (at[0] & 0x3Fu) << 6 | (at[1] & 0x3Fu);
    at += 2;
    return c;
  }
  const char32_t c = (b & 0x07u) << 18 | (at[0] & 0x3Fu) << 12 | (at[1] & 0x3Fu) << 6 | (at[2] & 0x3Fu);
  at += 3;
  return c;
}

bool is_ascii_word(const Byte* at) {
  std::uint64_t word;
  std::memcpy(&word, at, sizeof word);
  return (word & 0x8080808080808080u) == 0;
}

}  // namespace

std::size_t valid_utf8_length(std::string_view text) noexcept {
  const auto* begin = reinterpret_cast<const Byte*>(text.data());
  const Byte* at = begin;
  const Byte* end = at + text.size();
  while (at < end) {
    if (end - at >= 8 && is_ascii_word(at)) {
      at += 8;
      continue;
    }
    const std::size_t length = character_length(at, end);
    if (length == 0) break;
    at += length;
  }
  return static_cast<std::size_t>(at - begin);
}

void append_utf8(std::string& text, char32_t c) {
  if (is_surrogate(c) || c > 0x10FFFF) c = replacement;
  if (c < 0x80) {
    text += static_cast<char>(c);
  } else if (c < 0x800) {
    text += static_cast<char>(0xC0 | c >> 6);
    text += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    text += static_cast<char>(0xE0 | c >> 12);
    text += static_cast<char>(0x80 | (c >> 6 & 0x3F));
    text += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    text += static_cast<char>(0xF0 | c >> 18);
    text += static_cast<char>(0x80 | (c >> 12 & 0x3F));
    text += static_cast<char>(0x80 | (c >> 6 & 0x3F));
    text += static_cast<char>(0x80 | (c & 0x3F));
  }
}

std::string latin1_to_utf8(std::string_view text) {
  std::string result;
  result.reserve(text.size() * 2);
  for (const char c : text) append_utf8(result, static_cast<Byte>(c));
  return result;
}

std::size_t wide_length(std::string_view text) noexcept {
  std::size_t length = 0;
  for (const char c : text) {
    const auto b = static_cast<Byte>(c);
    if (!is_continuation(b)) ++length;
    if (sizeof(wchar_t) == 2 && b >= 0xF0) ++length;  // a surrogate pair
  }
  return length;
}

void to_wide(std::string_view text, wchar_t* out) noexcept {
  const auto* at = reinterpret_cast<const Byte*>(text.data());
  const Byte* end = at + text.size();
  while (at < end) {
    const char32_t c = next_character(at);
    if (sizeof(wchar_t) == 2 && c > 0xFFFF) {
      *out++ = static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
      *out++ = static_cast<wchar_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    } else {
      *out++ = static_cast<wchar_t>(c);
    }
  }
}

std::string to_utf8(std::wstring_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    auto c = static_cast<char32_t>(text[i]);
    if (sizeof(wchar_t) == 2) {
      c &= 0xFFFF;
      const bool pair = c >= 0xD800 && c < 0xDC00 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00;
      if (pair) c = 0x10000 + ((c - 0xD800) << 10) + ((static_cast<char32_t>(text[++i]) & 0xFFFF) - 0xDC00);
    }
    append_utf8(result, c);
  }
  return result;
}

}  // namespace HalconCpp::detail
