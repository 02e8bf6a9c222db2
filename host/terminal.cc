#include "terminal.h"

#include <cstdio>
#include <cstdlib>

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

}  // namespace

bool output_has_colour() { return quovel::output_is_terminal() && colour_is_welcome(); }
bool errors_have_colour() { return quovel::errors_are_on_terminal() && colour_is_welcome(); }

std::string printable(const std::string& text) {
  static constexpr char digits[] = "0123456789abcdef";
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
    if (byte == 0xC2 && next >= 0x80 && next < 0xA0) {  // U+0080 to U+009F
      result += {'\\', 'x', digits[next >> 4], digits[next & 15]};
      ++i;
    } else if (byte == '\n') {
      result += "\\n";
    } else if (byte == '\t') {
      result += "\\t";
    } else if (byte < 0x20 || byte == 0x7F) {
      result += {'\\', 'x', digits[byte >> 4], digits[byte & 15]};
    } else {
      result += text[i];
    }
  }
  return result;
}

Progress::Progress(const std::string& what, Clock::time_point begin) {
  if (quovel::errors_are_on_terminal())
    teller_ = std::thread([this, begin, text = one_line(printable(what))] { tell(text, begin); });
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
