#include <signal.h>
#include <unistd.h>

#include <initializer_list>
#include <system_error>
#include <thread>

#include "platform/interrupts.h"

namespace quovel {

namespace {

// A signal that is ignored must not be blocked: sigwait would return it although it is ignored.
bool is_ignored(int signal) noexcept {
  struct sigaction action;
  return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

sigset_t ending_signals() noexcept {
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    if (!is_ignored(signal)) ::sigaddset(&signals, signal);
  return signals;
}

void wait_for_interrupt(const sigset_t& signals, void (*clean_up)()) {
  int signal = 0;
  while (::sigwait(&signals, &signal) != 0) {
  }
  clean_up();
  ::signal(signal, SIG_DFL);
  ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
  ::kill(::getpid(), signal);
}

}  // namespace

void clean_up_when_interrupted(void (*clean_up)()) noexcept {
  const sigset_t signals = ending_signals();
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  try {
    std::thread(wait_for_interrupt, signals, clean_up).detach();
  } catch (const std::system_error&) {
    ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);  // no thread: an interrupt ends the program without cleaning up
  }
}

void report_file_size_limit_as_error() noexcept { ::signal(SIGXFSZ, SIG_IGN); }

}  // namespace quovel
