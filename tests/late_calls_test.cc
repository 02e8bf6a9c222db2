// Calls while the process ends: from a function that runs at exit, and from a thread that outlives main. Both come
// after what the library made since it was loaded would have been destroyed.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "support/files.h"
#include "support/host.h"
#include "support/scenarios.h"

namespace {

using namespace test;

constexpr int all_as_before = 10, some_differ = 11;

// Every kind of call, with what it gives before the process ends.
class Calls {
 public:
  Calls() {
    for (const auto& some : {scenarios_.opening(), scenarios_.extracting(), scenarios_.writing(), scenarios_.asking()})
      for (const Scenario& scenario : some) all_.emplace_back(scenario, run(scenario));
    write(folder_ / "m.onnx", std::string(model, sizeof model - 1));
    Scenario onnx;
    onnx.run = [this](const Reader& reader) {
      return Outcome{false, "", dump(reader.parse(FileKind::DlModel, folder_ / "m.onnx"))};
    };
    all_.emplace_back(onnx, run(onnx));
    version_ = narrow(qv_adapter_halcon_version());
  }
  bool give_the_same() const {
    bool same = narrow(qv_adapter_halcon_version()) == version_;
    for (const auto& [scenario, expected] : all_) same = run(scenario) == expected && same;
    return same;
  }

 private:
  static std::string run(const Scenario& scenario) {
    const Reader reader;
    return scenario.run(reader).shown;
  }

  // A graph "g" with one input "x" and one weight "w", each of one number.
  static constexpr char model[] =
      "\x08\x08\x42\x02\x10\x0D\x3A\x23\x12\x01g\x5A\x0F\x0A\x01x\x12\x0A\x0A\x08\x08\x01\x12\x04\x0A\x02\x08\x01"
      "\x2A\x0D\x08\x01\x10\x01\x42\x01w\x4A\x04\0\0\0\0";

  TempDir folder_;
  Scenarios scenarios_;
  std::vector<std::pair<Scenario, std::string>> all_;
  std::string version_;
};

Calls* calls = nullptr;
std::atomic<bool> ending{false};

// Ends the process at once, with the result as its code.
void finish() {
  const bool same = calls->give_the_same();
  delete calls;  // and its files
  std::_Exit(same ? all_as_before : some_differ);
}

// Registered first, a function runs last.
void end_with(void (*last)()) {
  std::atexit(last);
  calls = new Calls;
}

TEST(LateCalls, WorkAtExit) {
  ::testing::FLAGS_gtest_death_test_style = "threadsafe";
  const auto run = [] {
    end_with(finish);
    std::exit(0);
  };
  EXPECT_EXIT(run(), ::testing::ExitedWithCode(all_as_before), "");
}

TEST(LateCalls, WorkInAThreadThatOutlivesMain) {
  ::testing::FLAGS_gtest_death_test_style = "threadsafe";
  const auto run = [] {
    end_with([] {
      ending = true;
      std::this_thread::sleep_for(std::chrono::minutes(1));  // the thread ends the process
    });
    std::thread([] {
      while (!ending) std::this_thread::yield();
      finish();
    }).detach();
    std::exit(0);
  };
  EXPECT_EXIT(run(), ::testing::ExitedWithCode(all_as_before), "");
}

}  // namespace
