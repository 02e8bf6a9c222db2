// How things fail inside this library, and how a failure becomes the one-line HException that callers see.
#ifndef HALCONCPP_CORE_FAILURE_H
#define HALCONCPP_CORE_FAILURE_H

#include <atomic>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "HalconCpp.h"
#include "core/memory_limit.h"

namespace HalconCpp::detail {

// A reason why an operator cannot go on; `operate` puts the operator's name in front.
class Failure {
 public:
  explicit Failure(std::string reason) : reason_(std::move(reason)) {}
  const std::string& reason() const noexcept { return reason_; }

 private:
  std::string reason_;
};

[[noreturn]] inline void fail(std::string reason) { throw Failure(std::move(reason)); }

// "'name'", with control characters replaced so that a message stays one line, and cut when it is very long.
std::string quoted(std::string_view name);

// Throws the HException "operation: reason" (one line whatever the reason holds).
[[noreturn]] void raise(const char* operation, std::string_view reason);
[[noreturn]] void raise_out_of_memory(const char* operation);

// Keeps calls that the library makes to itself from being reported to a watcher. Costs one load while nobody watches.
class QuietScope {
 public:
  QuietScope() noexcept : watched_(calls_are_watched.load(std::memory_order_relaxed)) {
    if (watched_) [[unlikely]]
      change_depth(1);
  }
  ~QuietScope() {
    if (watched_) [[unlikely]]
      change_depth(-1);
  }
  QuietScope(const QuietScope&) = delete;
  QuietScope& operator=(const QuietScope&) = delete;

 private:
  static void change_depth(int by) noexcept;
  const bool watched_;
};

// Rethrows what is in flight as the HException that callers see.
[[noreturn]] void translate_failure(const char* operation);

// Runs the body of an operator: reports the call, then turns every failure into an HException.
template <class Body>
auto operate(const char* operation, Body&& body) {
  pass_gate(operation);
  QuietScope quiet;
  try {
    return body();
  } catch (...) {
    translate_failure(operation);
  }
}

// Runs a body on behalf of one file: its failures name the file, and its memory counts towards the ceiling of the call.
template <class Body>
auto in_file(std::string_view path, Body&& body) {
  try {
    const MemoryAccount account;
    return body();
  } catch (const Failure& failure) {
    fail(quoted(path) + ": " + failure.reason());
  } catch (const std::bad_alloc&) {
    fail(quoted(path) + ": out of memory");
  }
}

// Lets a watcher replace an answer (HalconHook.h).
void offer_answer(const char* operation, HTuple& answer);
void offer_answer(const char* operation, void*& pointer);

}  // namespace HalconCpp::detail

#endif
