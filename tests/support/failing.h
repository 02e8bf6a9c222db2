// Makes the calls of one operator fail.
#ifndef QUOVEL_TESTS_SUPPORT_FAILING_H
#define QUOVEL_TESTS_SUPPORT_FAILING_H

#include <string>
#include <utility>

#include "HalconHook.h"

namespace test {

// As long as it lives, the operator fails the first `times` times.
class Failing : public HalconCpp::CallWatcher {
 public:
  explicit Failing(std::string operation, int times = 1 << 30) : operation_(std::move(operation)), left_(times) {
    HalconCpp::WatchCalls(this);
  }
  ~Failing() override { HalconCpp::WatchCalls(nullptr); }
  void called(const char* operation) override {
    if (operation != operation_ || left_-- <= 0) return;
    met = true;
    HalconCpp::ThrowHException("made to fail");
  }
  bool met = false;

 private:
  const std::string operation_;
  int left_;
};

}  // namespace test

#endif
