// Words and numbers of a text file, read strictly: what is malformed is rejected with the number of its line.
#ifndef HALCONCPP_MODELS3D_TEXT_SCANNER_H
#define HALCONCPP_MODELS3D_TEXT_SCANNER_H

#include <charconv>
#include <cstddef>
#include <span>
#include <string_view>
#include <system_error>

#include "HalconCpp.h"

namespace HalconCpp::detail {

// A line ends at LF, CR or both; '#' begins a comment; a backslash that ends its line joins the next one to it.
class TextScanner {
 public:
  explicit TextScanner(std::span<const std::byte> text) noexcept;

  // Moves past blanks; whether something follows on this line.
  bool more_on_line() noexcept {
    while (at_ < end_ && (is_blank(*at_) || (*at_ == '\\' && join_lines()))) ++at_;
    return at_ < end_ && !ends_line(*at_) && *at_ != '#';
  }
  // Moves past blanks, line ends and comments; whether anything follows.
  bool more() noexcept {
    while (!more_on_line()) {
      if (at_ == end_) return false;
      skip_line();
    }
    return true;
  }
  void skip_line() noexcept {
    while (at_ < end_ && !ends_line(*at_)) ++at_;
    if (at_ < end_) at_ += left() > 1 && *at_ == '\r' && at_[1] == '\n' ? 2 : 1;
  }

  // The next word of this line; empty when there is none.
  std::string_view word() noexcept;
  double number() {
    const char* digits = start_of_number();
    double value;
    const auto [after, error] = std::from_chars(digits, end_, value);
    if (error != std::errc() || !ends_word(after)) return unusual_number();
    at_ = after;
    return value;
  }
  Hlong integer();

  const char* at() const noexcept { return at_; }
  std::size_t left() const noexcept { return static_cast<std::size_t>(end_ - at_); }
  // "line n: reason", n being where the scanner is.
  [[noreturn]] void fail_here(std::string_view reason) const;

 private:
  static bool is_blank(char c) noexcept { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; }
  static bool ends_line(char c) noexcept { return c == '\n' || c == '\r'; }
  bool ends_word(const char* at) const noexcept { return at == end_ || is_blank(*at) || ends_line(*at) || *at == '\\'; }
  bool join_lines() noexcept;
  const char* start_of_number();
  double unusual_number();

  const char* first_;
  const char* at_;
  const char* end_;
};

}  // namespace HalconCpp::detail

#endif
