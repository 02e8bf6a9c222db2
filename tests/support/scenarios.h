// Every path through the host interface, small: what is run again and again while something fails.
#ifndef QUOVEL_TESTS_SUPPORT_SCENARIOS_H
#define QUOVEL_TESTS_SUPPORT_SCENARIOS_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "support/files.h"
#include "support/host.h"

namespace test {

// What a scenario showed: the failure value of the call it is about, the last-error text, and all else worth comparing.
struct Outcome {
  bool failed = false;
  std::string error;
  std::string shown;
};

struct Scenario {
  std::string name;
  std::function<Outcome(const Reader&)> run;
  // Failures that do not fail the call show one of these in what is shown, or nothing at all where `silent`.
  std::vector<std::string> marks;
  bool silent = false;         // a contained failure may leave no trace but less to see
  bool may_lack_text = false;  // a failed call may leave an empty text
};

// The files that the scenarios need, and the scenarios by what they do.
class Scenarios {
 public:
  Scenarios();

  std::vector<Scenario> opening();
  std::vector<Scenario> extracting();
  std::vector<Scenario> writing();
  std::vector<Scenario> asking();
  // The paths of all files that can be opened, and of those that become large trees.
  std::vector<std::string> files() const;
  std::vector<std::string> trees() const { return {folder / "all.hobj", folder / "d.hdict", folder / "d.json"}; }

 private:
  Scenario parsing(FileKind kind, const std::string& file, std::vector<std::string> marks = {}, bool silent = false);
  Scenario on_node(const char* file, int32_t position, std::function<int32_t(const Reader&, const qv_node*)> call);

  void write_picture(const std::string& format);

  TempDir folder;
  std::vector<std::string> pictures_;
  std::vector<std::unique_ptr<Reader>> openers_;
};

// Whether the outcome is one that the contract names: a failure with one of these texts in its error, or a contained
// failure.
bool is_allowed(const Scenario& scenario, const Outcome& good, const Outcome& outcome, const std::string& failure_text);

// Runs `run` with its steps from `first` to `last` failing (counted from 1; none when both are 0), and says how many
// steps there were.
using FailSteps = std::function<int(int first, int last, const std::function<void()>& run)>;
// Expects an allowed outcome of each scenario with each of its steps failing, one at a time, then with all steps from
// each on, and a scenario that works afterwards.
void sweep(const std::vector<Scenario>& all, const FailSteps& fail, const std::string& failure_text);

}  // namespace test

#endif
