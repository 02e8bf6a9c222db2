#include "platform/text.h"

#include <charconv>

namespace quovel {

namespace {

using Byte = unsigned char;

constexpr char16_t replacement = 0xFFFD;

// One character of well-formed UTF-8, or U+FFFD for a byte that starts none; moves on past what it read.
char32_t next_character(const Byte*& at, const Byte* end) {
  const Byte first = *at++;
  if (first < 0x80) return first;
  const int more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
  if (first < 0xC2 || first > 0xF4 || end - at < more) return replacement;
  char32_t c = first & (0x3Fu >> more);
  for (int i = 0; i < more; ++i) {
    if ((at[i] & 0xC0) != 0x80) return replacement;
    c = c << 6 | (at[i] & 0x3Fu);
  }
  const bool overlong = (more == 2 && c < 0x800) || (more == 3 && c < 0x10000);
  const bool surrogate = c >= 0xD800 && c <= 0xDFFF;
  if (overlong || surrogate || c > 0x10FFFF) return replacement;
  at += more;
  return c;
}

void append_utf8(std::string& text, char32_t c) {
  const auto continuation = [&](int shift) { text += static_cast<char>(0x80 | (c >> shift & 0x3F)); };
  if (c < 0x80) {
    text += static_cast<char>(c);
  } else if (c < 0x800) {
    text += static_cast<char>(0xC0 | c >> 6);
    continuation(0);
  } else if (c < 0x10000) {
    text += static_cast<char>(0xE0 | c >> 12);
    continuation(6);
    continuation(0);
  } else {
    text += static_cast<char>(0xF0 | c >> 18);
    continuation(12);
    continuation(6);
    continuation(0);
  }
}

// A double in fixed style has up to 309 digits before the point.
constexpr std::size_t longest_number = 400;

void append_ascii(std::u16string& text, const char* first, const char* last) { text.append(first, last); }

}  // namespace

std::size_t utf8_to_utf16(std::string_view text, char16_t* out) noexcept {
  const auto* at = reinterpret_cast<const Byte*>(text.data());
  const Byte* end = at + text.size();
  char16_t* const begin = out;
  while (at < end) {
    if (*at < 0x80) {
      *out++ = *at++;
      continue;
    }
    const char32_t c = next_character(at, end);
    if (c < 0x10000) {
      *out++ = static_cast<char16_t>(c);
    } else {
      *out++ = static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
      *out++ = static_cast<char16_t>(0xDC00 + (c & 0x3FF));
    }
  }
  return static_cast<std::size_t>(out - begin);
}

std::string utf16_to_utf8(std::u16string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    const bool high = c >= 0xD800 && c < 0xDC00;
    const bool pair = high && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00;
    if (pair) {
      c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00u);
    } else if (c >= 0xD800 && c < 0xE000) {
      c = replacement;
    }
    append_utf8(result, c);
  }
  return result;
}

std::u16string from_halcon(const HalconCpp::HString& string) {
  const HalconText text(string);
  std::u16string result(text.most_units(), u'\0');
  result.resize(text.copy_to(result.data()));
  return result;
}

void append_integer(std::u16string& text, std::int64_t value) {
  char digits[24];
  append_ascii(text, digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

void append_count(std::u16string& text, std::int64_t count, std::u16string_view one, std::u16string_view many) {
  append_integer(text, count);
  text += u' ';
  text += count == 1 ? one : many;
}

void append_general(std::u16string& text, double value, int digits) {
  char written[longest_number];
  append_ascii(text, written,
               std::to_chars(written, written + sizeof written, value, std::chars_format::general, digits).ptr);
}

void append_fixed(std::u16string& text, double value, int decimals) {
  char written[longest_number];
  append_ascii(text, written,
               std::to_chars(written, written + sizeof written, value, std::chars_format::fixed, decimals).ptr);
}

}  // namespace quovel
