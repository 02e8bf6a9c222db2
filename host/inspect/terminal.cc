#include "terminal.h"

#include <cstdio>
#include <cstdlib>
#include <system_error>

#include "platform/console.h"
#include "unicode.h"

namespace host {

namespace {

bool color_is_welcome() {
  const char* const forbidden = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  return (!forbidden || !*forbidden) && (!terminal || std::string_view(terminal) != "dumb");
}

// The end of the text, as much as fits into one line of a narrow terminal.
std::string one_line(const std::string& text) {
  constexpr std::size_t max_size = 60;
  if (text.size() <= max_size) return text;
  std::size_t begin = text.size() - max_size;
  while (begin < text.size() && (text[begin] & 0xC0) == 0x80) ++begin;
  return "…" + text.substr(begin);
}

// "\x1b" for characters below 256 and for bytes that are not UTF-8; otherwise "\u202e".
void append_escape(std::string& text, char32_t c) {
  static constexpr char digits[] = "0123456789abcdef";
  text += c < 0x100 ? "\\x" : "\\u";
  for (int shift = c < 0x100 ? 4 : 12; shift >= 0; shift -= 4) text += digits[c >> shift & 15];
}

}  // namespace

bool output_has_color() { return quovel::output_is_terminal() && color_is_welcome(); }
bool errors_have_color() { return quovel::errors_are_on_terminal() && color_is_welcome(); }

bool is_control(char32_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x61C || c == 0x200E || c == 0x200F ||
         (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

std::string printable(std::string_view text) {
  std::string result;
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at != end;) {
    char32_t c = 0;
    const std::size_t length = unicode::read_utf8(at, end, c);
    if (c == '\n' || c == '\t')
      result += {'\\', c == '\n' ? 'n' : 't'};
    else if (length == 0)
      append_escape(result, static_cast<unsigned char>(*at));
    else if (is_control(c))
      append_escape(result, c);
    else
      result.append(at, length);
    at += length > 0 ? length : 1;
  }
  return result;
}

Progress::Progress(const std::string& what, Clock::time_point begin) {
  if (!quovel::errors_are_on_terminal()) return;
  try {
    teller_ = std::thread([this, begin, text = one_line(printable(what))] { tell(text, begin); });
  } catch (const std::system_error&) {
    // Without a thread there is no progress display.
  }
}

Progress::~Progress() {
  if (!teller_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    done_ = true;
  }
  change_.notify_one();
  teller_.join();
}

void Progress::tell(const std::string& what, Clock::time_point begin) {
  using namespace std::chrono_literals;
  const auto ended_by = [&](Clock::time_point time) {
    std::unique_lock lock(mutex_);
    return change_.wait_until(lock, time, [&] { return done_; });
  };
  if (ended_by(begin + 500ms)) return;
  do {
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    std::fprintf(stderr, "\r%s: %.1f s\033[K", what.c_str(), seconds);
    std::fflush(stderr);
  } while (!ended_by(Clock::now() + 100ms));
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
}

}  // namespace host
