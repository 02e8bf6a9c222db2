// Makes the calls of operators fail, or give answers that no file can cause.
#ifndef QUOVEL_TESTS_SUPPORT_FAILING_H
#define QUOVEL_TESTS_SUPPORT_FAILING_H

#include <set>
#include <string>
#include <utility>

#include "HalconHook.h"

namespace test {

// As long as it lives, the operators fail `times` times, from their call `first` (counted from 1) on.
class Failing : public HalconCpp::CallWatcher {
 public:
  explicit Failing(std::set<std::string> operations, int times = 1 << 30, int first = 1)
      : operations_(std::move(operations)), before_(first - 1), left_(times) {
    HalconCpp::WatchCalls(this);
  }
  explicit Failing(const char* operation, int times = 1 << 30, int first = 1)
      : Failing(std::set<std::string>{operation}, times, first) {}
  ~Failing() override { HalconCpp::WatchCalls(nullptr); }
  void called(const char* operation) override {
    if (!operations_.contains(operation) || before_-- > 0 || left_-- <= 0) return;
    met = true;
    HalconCpp::ThrowHException("made to fail");
  }
  bool met = false;

 private:
  const std::set<std::string> operations_;
  int before_, left_;
};

// As long as it lives, the operator answers this, and null where a pointer is asked for.
class Answering : public HalconCpp::CallWatcher {
 public:
  explicit Answering(std::string operation, HalconCpp::HTuple answer = {})
      : operation_(std::move(operation)), answer_(std::move(answer)) {
    HalconCpp::WatchCalls(this);
  }
  ~Answering() override { HalconCpp::WatchCalls(nullptr); }
  void answered(const char* operation, HalconCpp::HTuple& answer) override {
    if (operation == operation_) answer = answer_;
  }
  void answered(const char* operation, void*& pointer) override {
    if (operation == operation_) pointer = nullptr;
  }

 private:
  const std::string operation_;
  const HalconCpp::HTuple answer_;
};

// Every question about what the elements of a tuple are.
inline const std::set<std::string> type_questions{"TupleIsHandleElem", "TupleIsIntElem", "TupleIsStringElem",
                                                  "TupleSemType", "TupleSemTypeElem"};

}  // namespace test

#endif
