#include "terminal.h"

#include <cstdio>
#include <cstdlib>
#include <system_error>

#include "platform/console.h"

namespace host {

namespace {

bool colour_is_welcome() {
  const char* const forbidden = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  return (!forbidden || !*forbidden) && (!terminal || std::string_view(terminal) != "dumb");
}

// One line of a narrow terminal, cut between two characters.
std::string one_line(const std::string& text) {
  constexpr std::size_t most = 60;
  if (text.size() <= most) return text;
  std::size_t begin = text.size() - most;
  while (begin < text.size() && (text[begin] & 0xC0) == 0x80) ++begin;
  return "…" + text.substr(begin);
}

struct Control {
  unsigned code;
  std::size_t size;  // in bytes; 0: none stands there
};

// The control character that the UTF-8 begins with, or the sign that turns the direction of what follows.
Control control_at(std::string_view text) {
  const auto byte = [&](std::size_t i) -> unsigned {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
  };
  if (byte(0) < 0x20 || byte(0) == 0x7F) return {byte(0), 1};
  const unsigned two = (byte(0) & 0x1F) << 6 | (byte(1) & 0x3F);
  if (byte(0) >> 5 == 6 && byte(1) >> 6 == 2 && ((two >= 0x80 && two < 0xA0) || two == 0x61C)) return {two, 2};
  if (byte(0) != 0xE2 || byte(1) >> 6 != 2 || byte(2) >> 6 != 2) return {0, 0};
  const unsigned three = 0x2000 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
  const bool turns = three == 0x200E || three == 0x200F || (three >= 0x2028 && three <= 0x202E) ||
                     (three >= 0x2066 && three <= 0x2069);
  return {three, turns ? std::size_t{3} : 0};
}

}  // namespace

bool output_has_colour() { return quovel::output_is_terminal() && colour_is_welcome(); }
bool errors_have_colour() { return quovel::errors_are_on_terminal() && colour_is_welcome(); }

std::string printable(const std::string& text) {
  static constexpr char digits[] = "0123456789abcdef";
  std::string result;
  for (std::size_t i = 0; i < text.size();) {
    const auto [c, size] = control_at(std::string_view(text).substr(i));
    if (size == 0) {
      result += text[i++];
      continue;
    }
    i += size;
    if (c == '\n' || c == '\t') {
      result += {'\\', c == '\n' ? 'n' : 't'};
    } else if (c < 0x100) {
      result += {'\\', 'x', digits[c >> 4], digits[c & 15]};
    } else {
      result += {'\\', 'u', digits[c >> 12], digits[c >> 8 & 15], digits[c >> 4 & 15], digits[c & 15]};
    }
  }
  return result;
}

Progress::Progress(const std::string& what, Clock::time_point begin) {
  if (!quovel::errors_are_on_terminal()) return;
  try {
    teller_ = std::thread([this, begin, text = one_line(printable(what))] { tell(text, begin); });
  } catch (const std::system_error&) {
    // No thread to be had: the work goes on untold.
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
