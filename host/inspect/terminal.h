// Output on a terminal: colors, escaped control characters, progress.
#ifndef QUOVEL_HOST_TERMINAL_H
#define QUOVEL_HOST_TERMINAL_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace host {

namespace color {
constexpr std::string_view bold = "\033[1m", blue = "\033[34m", red = "\033[31m", bright_red = "\033[1;31m",
                           gray = "\033[90m", yellow = "\033[33m", plain = "\033[0m";
}

// Whether standard output, standard error is a terminal and neither NO_COLOR nor TERM=dumb forbids color.
bool output_has_color();
bool errors_have_color();

// Control characters (C0, DEL, C1), line separators, and the signs that turn the direction of the text after them.
bool is_control(char32_t c);

// Characters that would move the cursor or turn the direction of the text, and bytes that are not UTF-8, become escapes
// ("\n", "\x1b", "\u202e").
std::string printable(std::string_view text);

// While it exists, shows on standard error, if that is a terminal, what is being done and for how long. Work of less
// than half a second shows nothing.
class Progress {
 public:
  using Clock = std::chrono::steady_clock;

  // `begin` is earlier if this is one step of longer work.
  explicit Progress(const std::string& what, Clock::time_point begin = Clock::now());
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

 private:
  void tell(const std::string& what, Clock::time_point begin);

  std::mutex mutex_;
  std::condition_variable change_;
  bool done_ = false;
  std::thread teller_;
};

}  // namespace host

#endif
