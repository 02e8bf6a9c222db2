// qv_corpus FOLDER [SECTION...]: compares what the libraries make of a folder of real files with the tables beside
// them. Exit code 0: all agree; 1: something disagrees; 2: misuse.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <iterator>
#include <string>

#include "sections.h"

namespace corpus {

void Report::disagree(const std::string& file, const std::string& expected, const std::string& found) {
  ++disagree_;
  std::printf("%s: expected %s, found %s\n", file.c_str(), expected.c_str(), found.c_str());
}

void Report::print_summary() const {
  std::size_t expected = 0;
  std::string reasons;
  for (const auto& [reason, count] : by_design_) {
    expected += count;
    reasons += (reasons.empty() ? " (" : ", ") + reason + ": " + std::to_string(count);
  }
  if (!reasons.empty()) reasons += ")";
  std::printf("%s: %zu files, %zu agree, %zu differ by design%s, %zu disagree\n", section_.c_str(),
              agree_ + expected + disagree_, agree_, expected, reasons.c_str(), disagree_);
}

namespace {

constexpr struct {
  const char* name;
  void (*check)(const std::filesystem::path&, Report&);
} sections[] = {
    {"images", check_images},     {"json", check_json}, {"malformed", check_malformed},
    {"models3d", check_models3d}, {"onnx", check_onnx},
};

int run(const std::filesystem::path& folder, const char* const* chosen, int count) {
  const auto is_chosen = [&](const std::string& name) {
    return std::find(chosen, chosen + count, name) != chosen + count;
  };
  for (int i = 0; i < count; ++i)
    if (std::none_of(std::begin(sections), std::end(sections),
                     [&](auto& each) { return chosen[i] == std::string(each.name); })) {
      std::fprintf(stderr, "qv_corpus: there is no section '%s'\n", chosen[i]);
      return 2;
    }
  bool clean = true;
  for (const auto& section : sections) {
    if (count > 0 && !is_chosen(section.name)) continue;
    Report report(section.name);
    section.check(folder, report);
    report.print_summary();
    clean = clean && report.clean();
  }
  return clean ? 0 : 1;
}

}  // namespace

}  // namespace corpus

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: qv_corpus FOLDER [SECTION...]\n");
    return 2;
  }
  try {
    return corpus::run(argv[1], argv + 2, argc - 2);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "qv_corpus: %s\n", failure.what());
    return 2;
  }
}
