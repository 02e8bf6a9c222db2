#include "json_output.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iosfwd>

#include "session.h"
#include "terminal.h"
#include "unicode.h"

namespace host {

namespace {

// The characters of ASCII that are written as they are.
constexpr std::array<bool, 128> plain = [] {
  std::array<bool, 128> table{};
  for (std::size_t c = 0x20; c < table.size(); ++c) table[c] = c != '"' && c != '\\' && c != 0x7F;
  return table;
}();
constexpr bool is_plain(unsigned c) { return c < plain.size() && plain[c]; }

}  // namespace

void JsonOutput::flush() {
  std::fwrite(block_.data(), 1, used_, out_);
  used_ = 0;
}

void JsonOutput::escape(char32_t c) {
  static constexpr std::string_view characters = "\"\\\b\t\n\f\r", letters = "\"\\btnfr";
  static constexpr char digits[] = "0123456789ABCDEF";
  const std::size_t named = c < 0x80 ? characters.find(static_cast<char>(c)) : characters.npos;
  const char as_number[] = {'\\', 'u', digits[c >> 12], digits[c >> 8 & 15], digits[c >> 4 & 15], digits[c & 15]};
  if (named == characters.npos) return raw({as_number, sizeof as_number});
  const char as_letter[] = {'\\', letters[named]};
  raw({as_letter, sizeof as_letter});
}

void JsonOutput::character(char32_t c) {
  char bytes[unicode::max_utf8_length];
  if (c < 0x80 || is_control(c))
    escape(c);
  else
    raw({bytes, unicode::write_utf8(c, bytes)});
}

void JsonOutput::string(std::string_view utf8) {
  raw("\"");
  const char* const end = utf8.data() + utf8.size();
  for (const char* from = utf8.data(); from != end;) {
    make_room(max_piece);
    const auto room = static_cast<std::ptrdiff_t>(block_.size() - used_);
    const char* const stop = std::find_if_not(from, from + std::min(end - from, room),
                                              [](char c) { return is_plain(static_cast<unsigned char>(c)); });
    raw({from, stop});
    from = stop;
    if (from == end || is_plain(static_cast<unsigned char>(*from))) continue;
    char32_t c;
    const std::size_t length = unicode::read_utf8(from, end, c);
    character(length > 0 ? c : unicode::replacement);
    from += length > 0 ? length : 1;
  }
  raw("\"");
}

void JsonOutput::string(const qv_char* text) {
  raw("\"");
  while (*text) {
    make_room(max_piece);
    char* to = block_.data() + used_;
    const char* const end = block_.data() + block_.size();
    while (to != end && is_plain(*text)) *to++ = static_cast<char>(*text++);
    used_ = static_cast<std::size_t>(to - block_.data());
    if (*text && !is_plain(*text)) character(next_character(text));
  }
  raw("\"");
}

void JsonOutput::integer(std::int64_t value) {
  make_room(max_piece);
  char* const to = block_.data() + used_;
  used_ += static_cast<std::size_t>(std::to_chars(to, to + max_piece, value).ptr - to);
}

void JsonOutput::real(double value) {
  if (!std::isfinite(value)) return raw("null");
  make_room(max_piece);
  char* const to = block_.data() + used_;
  const char* const end = std::to_chars(to, to + max_piece, value).ptr;
  used_ += static_cast<std::size_t>(end - to);
  const auto tells_real = [](char c) { return c == '.' || c == 'e'; };
  if (std::none_of(static_cast<const char*>(to), end, tells_real)) raw(".0");  // "40" would read back as an integer
}

}  // namespace host
