#include "json_output.h"

#include <rapidjson/internal/dtoa.h>

#include <algorithm>
#include <charconv>
#include <cmath>

#include "session.h"
#include "unicode.h"

namespace host {

namespace {

// The characters of ASCII that stand for themselves.
constexpr std::array<bool, 128> plain = [] {
  std::array<bool, 128> table{};
  for (std::size_t c = 0x20; c < table.size(); ++c) table[c] = c != '"' && c != '\\';
  return table;
}();
constexpr bool is_plain(unsigned c) { return c < plain.size() && plain[c]; }

}  // namespace

void JsonOutput::flush() {
  std::fwrite(block_.data(), 1, used_, out_);
  used_ = 0;
}

void JsonOutput::escape(char c) {
  static constexpr std::string_view characters = "\"\\\b\t\n\f\r", letters = "\"\\btnfr";
  static constexpr char digits[] = "0123456789ABCDEF";
  const std::size_t named = characters.find(c);
  const char as_number[] = {'\\', 'u', '0', '0', digits[c >> 4], digits[c & 15]};
  if (named == characters.npos) return raw({as_number, sizeof as_number});
  const char as_letter[] = {'\\', letters[named]};
  raw({as_letter, sizeof as_letter});
}

void JsonOutput::string(std::string_view utf8) {
  const auto stands = [](unsigned char c) { return c >= 0x80 || is_plain(c); };
  raw("\"");
  for (auto from = utf8.begin(); from != utf8.end();) {
    make_room(longest);
    const auto most = std::min<std::ptrdiff_t>(utf8.end() - from, static_cast<std::ptrdiff_t>(block_.size() - used_));
    const auto end = std::find_if_not(from, from + most, stands);
    std::copy(from, end, block_.data() + used_);
    used_ += static_cast<std::size_t>(end - from);
    from = end;
    if (end != utf8.end() && !stands(static_cast<unsigned char>(*end))) escape(*from++);
  }
  raw("\"");
}

void JsonOutput::string(const qv_char* text) {
  raw("\"");
  while (*text) {
    make_room(longest);
    char* to = block_.data() + used_;
    const char* const end = block_.data() + block_.size();
    while (to != end && is_plain(*text)) *to++ = static_cast<char>(*text++);
    used_ = static_cast<std::size_t>(to - block_.data());
    if (*text >= 0x80) {
      char bytes[unicode::max_utf8_length];
      raw({bytes, unicode::write_utf8(next_character(text), bytes)});
    } else if (*text && !is_plain(*text)) {
      escape(static_cast<char>(*text++));
    }
  }
  raw("\"");
}

void JsonOutput::integer(std::int64_t value) {
  make_room(longest);
  char* const to = block_.data() + used_;
  used_ += static_cast<std::size_t>(std::to_chars(to, to + longest, value).ptr - to);
}

void JsonOutput::real(double value) {
  if (!std::isfinite(value)) return raw("null");
  make_room(longest);
  char* const to = block_.data() + used_;
  used_ += static_cast<std::size_t>(rapidjson::internal::dtoa(value, to) - to);
}

}  // namespace host
