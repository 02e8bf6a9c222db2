// The sections of the corpus, one function and one file each; main.cc lists them.
#ifndef QUOVEL_TESTS_CORPUS_SECTIONS_H
#define QUOVEL_TESTS_CORPUS_SECTIONS_H

#include <cstddef>
#include <filesystem>
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

// Every image of images/expected.tsv through ReadImage: channels, size, first and last pixel, means and checksum.
void check_images(const std::filesystem::path& corpus, Report& report);
// Every document of json/expected.tsv and bench/expected.tsv through the host interface: opened or rejected, written
// again.
void check_json(const std::filesystem::path& corpus, Report& report);
// Every file of malformed/expected.tsv through every parse export of the host interface.
void check_malformed(const std::filesystem::path& corpus, Report& report);
// Every 3D model of models3d/expected.tsv through ReadObjectModel3d: points, faces and bounding box.
void check_models3d(const std::filesystem::path& corpus, Report& report);
// Every model of onnx/expected.tsv through ReadDlModel: origin, inputs, outputs, operators and initializers.
void check_onnx(const std::filesystem::path& corpus, Report& report);

}  // namespace corpus

#endif
