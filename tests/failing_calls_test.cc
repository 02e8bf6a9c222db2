// Every call into HALCON made to fail in turn, on every path through the host interface: the result and the text must
// be those of the contract, and the Reader must work afterwards.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>

#include "HalconHook.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "support/files.h"
#include "support/host.h"
#include "support/scenarios.h"

namespace {

using namespace test;

constexpr const char* failure_text = "made to fail";

// Counts the calls, and fails the ones from `first` to `last` (counted from 1).
class FailingRange : public HalconCpp::CallWatcher {
 public:
  FailingRange(int first, int last) : first_(first), last_(last) { HalconCpp::WatchCalls(this); }
  ~FailingRange() override { HalconCpp::WatchCalls(nullptr); }
  void called(const char*) override {
    ++count;
    if (count >= first_ && count <= last_) HalconCpp::ThrowHException(failure_text);
  }
  int count = 0;

 private:
  int first_, last_;
};

int with_failing_calls(int first, int last, const std::function<void()>& run) {
  const FailingRange failing(first, last);
  run();
  return failing.count;
}

TEST(FailingCalls, WhileOpening) { sweep(Scenarios().opening(), with_failing_calls, failure_text); }
TEST(FailingCalls, WhileExtracting) { sweep(Scenarios().extracting(), with_failing_calls, failure_text); }
TEST(FailingCalls, WhileWriting) { sweep(Scenarios().writing(), with_failing_calls, failure_text); }
TEST(FailingCalls, WhileAskingForTexts) { sweep(Scenarios().asking(), with_failing_calls, failure_text); }

// The version is asked for once in a process: each failing call has a process of its own.
TEST(FailingVersion, IsUnknownForGood) {
  ::testing::FLAGS_gtest_death_test_style = "threadsafe";
  const auto ask = [](int k) {
    std::string first;
    {
      const FailingRange failing(k, k);
      first = narrow(qv_adapter_halcon_version());
    }
    const bool kept = narrow(qv_adapter_halcon_version()) == first;
    const bool expected = k == 0 ? first.rfind("24.11", 0) == 0 : first == "unknown" || first.rfind("24.11", 0) == 0;
    std::_Exit(kept && expected ? (first == "unknown" ? 11 : 10) : 1);
  };
  EXPECT_EXIT(ask(0), ::testing::ExitedWithCode(10), "");
  EXPECT_EXIT(ask(1), ::testing::ExitedWithCode(11), "");
  EXPECT_EXIT(ask(2), ::testing::ExitedWithCode(11), "");
}

}  // namespace
