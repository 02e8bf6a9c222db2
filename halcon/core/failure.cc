#include "core/failure.h"

#include <cstddef>
#include <exception>

#include "HalconHook.h"
#include "core/access.h"

namespace HalconCpp {

HException::HException(HString message) noexcept : message_(std::move(message)) {}
HException::~HException() = default;

HString HException::ErrorMessage() const {
  detail::pass_gate("HException::ErrorMessage");
  return message_;
}

CallWatcher::~CallWatcher() = default;
void CallWatcher::called(const char*) {}
void CallWatcher::answered(const char*, HTuple&) {}
void CallWatcher::answered(const char*, void*&) {}

namespace detail {

std::atomic<bool> calls_are_watched{false};

namespace {

std::atomic<CallWatcher*> watcher{nullptr};
thread_local int quiet_depth = 0;

constexpr std::size_t max_name = 400;

bool is_control(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

std::string one_line(std::string_view text) {
  std::string line(text);
  for (char& c : line)
    if (is_control(c)) c = ' ';
  return line;
}

// The start of the UTF-8 character that `at` lies in: cutting there splits none.
std::size_t character_border(std::string_view text, std::size_t at) {
  while (at > 0 && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) --at;
  return at;
}

}  // namespace

void report_call(const char* operation) {
  if (quiet_depth > 0) return;
  if (CallWatcher* current = watcher.load(std::memory_order_acquire)) {
    QuietScope quiet;
    current->called(operation);
  }
}

template <class Answer>
static void offer(const char* operation, Answer& answer) {
  if (!calls_are_watched.load(std::memory_order_relaxed) || quiet_depth > 1) return;
  if (CallWatcher* current = watcher.load(std::memory_order_acquire)) current->answered(operation, answer);
}

// Called from inside the one `operate` scope that a watched call opens.
void offer_answer(const char* operation, HTuple& answer) { offer(operation, answer); }
void offer_answer(const char* operation, void*& pointer) { offer(operation, pointer); }

void QuietScope::change_depth(int by) noexcept { quiet_depth += by; }

std::string quoted(std::string_view name) {
  if (name.size() <= max_name) return "'" + one_line(name) + "'";
  return "'" + one_line(name.substr(0, character_border(name, max_name))) + "...'";
}

void raise(const char* operation, std::string_view reason) {
  HString message;
  try {
    message = Access::string(std::string(operation) + ": " + one_line(reason));
  } catch (const std::bad_alloc&) {
    raise_out_of_memory(operation);
  }
  throw Access::exception(std::move(message));
}

void raise_out_of_memory(const char* operation) {
  HString message;
  try {
    message = Access::string(std::string(operation) + ": out of memory");
  } catch (const std::bad_alloc&) {
    // Not even the message: the exception travels without a text.
  }
  throw Access::exception(std::move(message));
}

void translate_failure(const char* operation) {
  try {
    throw;
  } catch (const HException&) {
    throw;
  } catch (const Failure& failure) {
    raise(operation, failure.reason());
  } catch (const std::bad_alloc&) {
    raise_out_of_memory(operation);
  } catch (const std::exception& failure) {
    raise(operation, failure.what());
  }
}

}  // namespace detail

void WatchCalls(CallWatcher* watcher) noexcept {
  detail::watcher.store(watcher, std::memory_order_release);
  detail::calls_are_watched.store(watcher != nullptr, std::memory_order_release);
}

void ThrowHException(const char* message) {
  detail::QuietScope quiet;
  throw detail::Access::exception(HString(message));
}

}  // namespace HalconCpp
