// What a run over the corpus found out.
#ifndef QUOVEL_TESTS_CORPUS_REPORT_H
#define QUOVEL_TESTS_CORPUS_REPORT_H

#include <cstddef>
#include <map>
#include <string>

namespace corpus {

// The result of one section. A file agrees, differs by design (for a reason that is counted), or disagrees.
class Report {
 public:
  explicit Report(std::string section) : section_(std::move(section)) {}

  void agree() { ++agree_; }
  void by_design(const std::string& reason) { ++by_design_[reason]; }
  // Prints one line at once.
  void disagree(const std::string& file, const std::string& expected, const std::string& found);
  void print_summary() const;
  bool clean() const { return disagree_ == 0 && agree_ > 0; }

 private:
  std::string section_;
  std::size_t agree_ = 0, disagree_ = 0;
  std::map<std::string, std::size_t> by_design_;
};

}  // namespace corpus

#endif
