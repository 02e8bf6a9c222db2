#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "sections.h"
#include "support/values.h"
#include "table.h"

namespace corpus {

namespace {

using HalconCpp::HTuple;

HTuple get(const HTuple& model, const char* name) {
  HTuple values;
  GetObjectModel3dParams(model, name, &values);
  return values;
}

// Of an STL the table counts corners; how many different ones there are stands in its note.
std::string expected_points(const Row& row) {
  const std::string note = row.at("note"), unique = "unique corner positions ";
  const std::size_t at = note.find(unique);
  if (at == std::string::npos) return row.at("vertices");
  return std::to_string(std::atol(note.c_str() + at + unique.size()));
}

bool near(const std::vector<std::string>& expected, const HTuple& found) {
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const double value = std::stod(expected[i]);
    if (!(std::abs(value - found[static_cast<HalconCpp::Hlong>(i)].D()) <= 1e-6 * std::max(1.0, std::abs(value))))
      return false;
  }
  return true;
}

std::string text_of(const HTuple& reals) {
  std::string text;
  for (HalconCpp::Hlong i = 0; i < reals.Length(); ++i) {
    char number[32];
    std::snprintf(number, sizeof number, "%.9g", reals[i].D());
    text += (i > 0 ? "," : "") + std::string(number);
  }
  return text;
}

void check(const Row& row, const HTuple& model, Report& report) {
  const std::string counts = expected_points(row) + " points, " + row.at("faces") + " faces";
  const std::string found = std::to_string(get(model, "num_points")[0].L()) + " points, " +
                            std::to_string(get(model, "num_faces")[0].L()) + " faces";
  if (counts != found) return report.disagree(row.at("path"), counts, found);
  if (row.at("bbox_min").empty()) return report.by_design("the table has no bounding box");
  const std::string box = row.at("bbox_min") + "," + row.at("bbox_max");
  const HTuple found_box = get(model, "bounding_box1");
  if (!near(split(box, ','), found_box)) return report.disagree(row.at("path"), box, text_of(found_box));
  report.agree();
}

}  // namespace

void check_models3d(const std::filesystem::path& corpus, Report& report) {
  for (const Row& row : read_table(corpus / "models3d" / "expected.tsv")) {
    try {
      check(row, test::read_model3d((corpus / row.at("path")).string()), report);
    } catch (const HalconCpp::HException& failure) {
      report.disagree(row.at("path"), "a model", failure.ErrorMessage().Text());
    }
  }
}

}  // namespace corpus
