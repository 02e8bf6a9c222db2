#include "platform/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>

namespace quovel {

std::u16string from_halcon(const HalconCpp::HString& string) {
  const HalconText text(string);
  std::u16string result(text.max_units(), u'\0');
  result.resize(text.copy_to(result.data()));
  return result;
}

namespace {

// The numbers from 0 to 9999 with four digits each. Padded, so that four units can be copied
// from any digit.
constexpr auto four_digits = [] {
  std::array<char16_t, 4 * 10000 + 4> digits{};
  for (std::size_t i = 0, part = 1000; i < 4 * 10000; ++i, part = part == 1 ? 1000 : part / 10)
    digits[i] = static_cast<char16_t>(u'0' + i / 4 / part % 10);
  return digits;
}();

void copy_four(char16_t* at, const char16_t* digits) noexcept { std::memcpy(at, digits, 4 * sizeof(char16_t)); }

}  // namespace

// Faster than std::to_chars: four digits at a time from a table, in units that need no widening. Writes up to three
// units too many, which the next ones replace.
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

// The six digits that %.6g shows, as a number from 100000 to 999999, and the power of ten of the first. Returns false
// for values that are written with an exponent, and for those so near to the middle between two results that the
// product below, whose error is less than 1e-9, cannot decide between them.
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

// %.6g of most numbers, several times as fast as std::to_chars, which must be exact for all of them. Null when
// six_digits does not decide.
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
  char number[max_number_units];
  return std::copy(number, std::to_chars(number, std::end(number), value, std::chars_format::general, digits).ptr, at);
}

void append_integer(std::u16string& text, std::int64_t value) {
  char16_t number[max_number_units];
  text.append(number, write_integer(number, value));
}

void append_count(std::u16string& text, std::int64_t count, std::u16string_view one, std::u16string_view many) {
  append_integer(text, count);
  text += u' ';
  text += count == 1 ? one : many;
}

void append_general(std::u16string& text, double value, int digits) {
  char16_t number[max_number_units];
  text.append(number, write_general(number, value, digits));
}

void append_fixed(std::u16string& text, double value, int decimals) {
  char number[400];  // up to 309 digits before the point
  text.append(number, std::to_chars(number, std::end(number), value, std::chars_format::fixed, decimals).ptr);
}

}  // namespace quovel
