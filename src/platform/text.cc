#include "platform/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>

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

// Sixteen bytes at a time while all of them are ASCII, in a form that compilers turn into vector instructions.
void widen_ascii(const Byte*& at, const Byte* end, char16_t*& out) noexcept {
  for (; end - at >= 16; at += 16, out += 16) {
    std::uint64_t words[2];
    std::memcpy(words, at, sizeof words);
    if (((words[0] | words[1]) & 0x8080808080808080u) != 0) return;
    for (int i = 0; i < 16; ++i) out[i] = at[i];
  }
}

}  // namespace

std::size_t utf8_to_utf16(std::string_view text, char16_t* out) noexcept {
  const auto* at = reinterpret_cast<const Byte*>(text.data());
  const Byte* end = at + text.size();
  char16_t* const begin = out;
  while (at < end) {
    widen_ascii(at, end, out);
    if (at == end) break;
    if (*at < 0x80) {
      do *out++ = *at++;
      while (at < end && *at < 0x80 && end - at < 16);
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

namespace {

// The numbers from 0 to 9999 with four digits each, and room to read on behind the last one.
constexpr auto four_digits = [] {
  std::array<char16_t, 4 * 10000 + 4> digits{};
  for (std::size_t i = 0, part = 1000; i < 4 * 10000; ++i, part = part == 1 ? 1000 : part / 10)
    digits[i] = static_cast<char16_t>(u'0' + i / 4 / part % 10);
  return digits;
}();

void copy_four(char16_t* at, const char16_t* digits) noexcept { std::memcpy(at, digits, 4 * sizeof(char16_t)); }

}  // namespace

// Shorter than the library's function, and in units that need no widening. Writes up to three units too many, which
// the next ones replace.
char16_t* write_integer(char16_t* at, std::int64_t value) noexcept {
  auto left = static_cast<std::uint64_t>(value);
  if (value < 0) {
    *at++ = u'-';
    left = 0 - left;
  }
  std::uint32_t groups[5];
  int count = 0;
  do groups[count++] = static_cast<std::uint32_t>(left % 10000);
  while ((left /= 10000) != 0);
  const std::uint32_t first = groups[--count];
  const int units = 1 + (first >= 10) + (first >= 100) + (first >= 1000);
  copy_four(at, four_digits.data() + 4 * first + 4 - units);
  at += units;
  for (; count > 0; at += 4) copy_four(at, four_digits.data() + 4 * groups[--count]);
  return at;
}

namespace {

// The six digits that %.6g shows, as a number from 100000 to 999999, and the power of ten of the first. Fails for
// values that are written with an exponent, and for those so near to the middle between two results that the product
// below, whose error is less than 1e-9, does not tell them apart.
bool six_digits(double value, std::uint32_t& digits, int& power) noexcept {
  static constexpr double powers[] = {1e-4, 1e-3, 1e-2, 1e-1, 1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
  if (!(value >= 1e-3 && value < 999999)) return false;
  int above = 2;
  while (value >= powers[above]) ++above;
  power = above - 5;                                    // 10^power <= value < 10^(power + 1)
  const double scaled = value * powers[4 + 5 - power];  // 10^0 and up are exact
  const double whole = std::floor(scaled);
  const double rest = scaled - whole;
  if (std::fabs(rest - 0.5) < 1e-6) return false;
  digits = static_cast<std::uint32_t>(whole) + (rest > 0.5 ? 1 : 0);
  return digits >= 100000 && digits < 1000000;
}

// %.6g of most numbers, several times as fast as the library's exact conversion, which has to be ready for all of them.
// Null when this number is not one of them.
char16_t* write_six_digits(char16_t* at, double value) noexcept {
  std::uint32_t digits;
  int power;
  if (!six_digits(std::fabs(value), digits, power)) return nullptr;
  char16_t shown[6];
  for (int i = 5; i >= 0; --i, digits /= 10) shown[i] = static_cast<char16_t>(u'0' + digits % 10);
  int count = 6;
  while (count > 1 && shown[count - 1] == '0') --count;
  if (value < 0) *at++ = '-';
  if (power < 0) {
    *at++ = '0';
    *at++ = '.';
    for (int i = -1; i > power; --i) *at++ = '0';
  }
  for (int i = 0; i < std::max(count, power + 1); ++i) {
    if (i > 0 && i == power + 1) *at++ = '.';
    *at++ = shown[i];
  }
  return at;
}

}  // namespace

char16_t* write_general(char16_t* at, double value, int digits) noexcept {
  if (char16_t* const end = digits == 6 ? write_six_digits(at, value) : nullptr) return end;
  char number[longest_number];
  return std::copy(number, std::to_chars(number, std::end(number), value, std::chars_format::general, digits).ptr, at);
}

void append_integer(std::u16string& text, std::int64_t value) {
  char16_t number[longest_number];
  text.append(number, write_integer(number, value));
}

void append_count(std::u16string& text, std::int64_t count, std::u16string_view one, std::u16string_view many) {
  append_integer(text, count);
  text += u' ';
  text += count == 1 ? one : many;
}

void append_general(std::u16string& text, double value, int digits) {
  char16_t number[longest_number];
  text.append(number, write_general(number, value, digits));
}

void append_fixed(std::u16string& text, double value, int decimals) {
  char number[400];  // up to 309 digits before the point
  text.append(number, std::to_chars(number, std::end(number), value, std::chars_format::fixed, decimals).ptr);
}

}  // namespace quovel
