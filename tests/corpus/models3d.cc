#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "HalconCpp.h"
#include "sections.h"
#include "support/values.h"
#include "table.h"

namespace corpus {

namespace {

using HalconCpp::HTuple;

// For an STL file the table gives the number of corners, and its note that of the different ones.
std::string expected_points(const Row& row) {
  const std::string note = row.at("note"), unique = "unique corner positions ";
  const std::size_t at = note.find(unique);
  if (at == std::string::npos) return row.at("vertices");
  return std::to_string(std::atol(note.c_str() + at + unique.size()));
}

bool near(const std::vector<std::string>& expected, const std::vector<double>& found) {
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const double value = std::stod(expected[i]);
    if (!(std::abs(value - found.at(i)) <= 1e-6 * std::max(1.0, std::abs(value)))) return false;
  }
  return true;
}

std::vector<double> reals(const HTuple& tuple) {
  std::vector<double> all;
  for (HalconCpp::Hlong i = 0; i < tuple.Length(); ++i) all.push_back(tuple[i].D());
  return all;
}

void check(const Row& row, const HTuple& model, Report& report) {
  const std::string counts = expected_points(row) + " points, " + row.at("faces") + " faces";
  const std::string found = std::to_string(test::model3d_param(model, "num_points")[0].L()) + " points, " +
                            std::to_string(test::model3d_param(model, "num_faces")[0].L()) + " faces";
  if (counts != found) return report.disagree(row.at("path"), counts, found);
  if (row.at("bbox_min").empty()) return report.by_design("the table has no bounding box");
  const std::string box = row.at("bbox_min") + "," + row.at("bbox_max");
  const std::vector<double> found_box = reals(test::model3d_param(model, "bounding_box1"));
  if (!near(split(box, ','), found_box)) return report.disagree(row.at("path"), box, text_of(found_box));
  report.agree();
}

}  // namespace

void check_models3d(const std::filesystem::path& corpus, Report& report) {
  check_rows(corpus, "models3d/expected.tsv", report,
             [&](const Row& row, const std::string& file) { check(row, test::read_model3d(file), report); });
}

}  // namespace corpus
