// What a person at a terminal sees: colours, texts that cannot move the cursor, and progress.
#ifndef QUOVEL_HOST_TERMINAL_H
#define QUOVEL_HOST_TERMINAL_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace host {

namespace colour {
constexpr std::string_view bold = "\033[1m", blue = "\033[34m", red = "\033[31m", bright_red = "\033[1;31m",
                           grey = "\033[90m", yellow = "\033[33m", plain = "\033[0m";
}

// Whether output, errors are coloured: on a terminal, unless the user's NO_COLOR or TERM=dumb forbid it.
bool output_has_colour();
bool errors_have_colour();

// Control characters would move the cursor or change the line, and some characters turn the direction of what follows:
// shown as escapes.
std::string printable(const std::string& text);

// Tells on standard error what is done once the work has taken half a second, and how long it takes, until it ends;
// only on a terminal.
class Progress {
 public:
  using Clock = std::chrono::steady_clock;

  // `begin` is earlier where this is one step of longer work.
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
