#include "models3d/text_scanner.h"

#include <string>
#include <utility>

#include "core/failure.h"

namespace HalconCpp::detail {

TextScanner::TextScanner(std::span<const std::byte> text) noexcept
    : first_(reinterpret_cast<const char*>(text.data())), at_(first_), end_(first_ + text.size()) {
  if (std::string_view(first_, text.size()).starts_with("\xEF\xBB\xBF")) at_ += 3;
}

// The scanner is at a backslash. When it is the last character of its line, moves to the last character of the line
// end.
bool TextScanner::join_lines() noexcept {
  if (left() < 2 || !ends_line(at_[1])) return false;
  at_ += left() > 2 && at_[1] == '\r' && at_[2] == '\n' ? 2 : 1;
  return true;
}

std::string_view TextScanner::word() noexcept {
  if (!more_on_line()) return {};
  const char* first = at_;
  do ++at_;
  while (!ends_word(at_));
  return {first, static_cast<std::size_t>(at_ - first)};
}

const char* TextScanner::start_of_number() {
  if (!more_on_line()) fail_here("a number is missing");
  return at_ + (*at_ == '+' ? 1 : 0);
}

Hlong TextScanner::integer() {
  const char* digits = start_of_number();
  Hlong value;
  const auto [after, error] = std::from_chars(digits, end_, value);
  if (error != std::errc() || !ends_word(after)) fail_here(quoted(word()) + " is not an integer");
  at_ = after;
  return value;
}

// Some exporters write 3.1e+2 as 3.1+e2.
double TextScanner::unusual_number() {
  const std::string_view text = word();
  std::string usual(text.substr(text.starts_with('+') ? 1 : 0));
  const auto e = usual.find_first_of("eE", 1);
  if (e != std::string::npos && (usual[e - 1] == '+' || usual[e - 1] == '-')) std::swap(usual[e - 1], usual[e]);
  double value;
  const auto [after, error] = std::from_chars(usual.data(), usual.data() + usual.size(), value);
  if (error == std::errc::result_out_of_range) fail_here(quoted(text) + " is beyond the range of numbers");
  if (error != std::errc() || after != usual.data() + usual.size()) fail_here(quoted(text) + " is not a number");
  return value;
}

void TextScanner::fail_here(std::string_view reason) const {
  std::size_t line = 1;
  for (const char* c = first_; c < at_; ++c)
    if (*c == '\n' || (*c == '\r' && (c + 1 == end_ || c[1] != '\n'))) ++line;
  fail("line " + std::to_string(line) + ": " + std::string(reason));
}

}  // namespace HalconCpp::detail
