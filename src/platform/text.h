// Text: conversion between HALCON's strings and UTF-16, and numbers that are written the same in every locale. Texts
// are UTF-16 without a byte order mark.
#ifndef QUOVEL_PLATFORM_TEXT_H
#define QUOVEL_PLATFORM_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "HalconCpp.h"

namespace quovel {

// The text of a HALCON string, to be converted to UTF-16. Refers to the string and must not outlive it. What is not a
// character becomes U+FFFD.
class HalconText {
 public:
  explicit HalconText(const HalconCpp::HString& string);

  // The address of the string's characters. Strings that share them have the same one.
  static const void* address_of(const HalconCpp::HString& string) {
#if defined(_WIN32)
    return string.TextW();
#else
    return string.Text();
#endif
  }
  // At least the number of units that `copy_to` writes.
  std::size_t max_units() const noexcept { return length_; }
  // Writes the text without a NUL and returns the number of units.
  std::size_t copy_to(char16_t* out) const noexcept;

 private:
#if defined(_WIN32)
  const wchar_t* text_;
#else
  const char* text_;  // UTF-8
#endif
  std::size_t length_;
};

std::u16string from_halcon(const HalconCpp::HString& string);
HalconCpp::HString to_halcon(const std::u16string& text);

// Write a number in the forms below to `at`, with at most 17 digits for reals, and return its end. There must be room
// for max_number_units.
inline constexpr std::size_t max_number_units = 24;
char16_t* write_integer(char16_t* at, std::int64_t value) noexcept;
char16_t* write_general(char16_t* at, double value, int digits = 6) noexcept;

// Decimal digits with a leading '-' for negative numbers.
void append_integer(std::u16string& text, std::int64_t value);
// The count, a space, and the noun that fits it: "1 key", "0 keys".
void append_count(std::u16string& text, std::int64_t count, std::u16string_view one, std::u16string_view many);
// As printf's %.<digits>g in the classic locale, but never with a locale's separator.
void append_general(std::u16string& text, double value, int digits = 6);
// As printf's %.<decimals>f in the classic locale.
void append_fixed(std::u16string& text, double value, int decimals);

}  // namespace quovel

#endif
