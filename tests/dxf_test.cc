// DXF: every point as it is, one polyline per object, and nothing that DXF cannot hold.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "support/files.h"
#include "support/objects.h"
#include "support/values.h"

namespace {

using namespace HalconCpp;
using namespace test;

using Points = std::vector<std::pair<double, double>>;  // x, y

// The polylines of a drawing, by its pairs of group code and value.
std::vector<Points> polylines(const std::string& drawing) {
  std::vector<Points> result;
  std::istringstream lines(drawing);
  std::string code, value, entity;
  while (std::getline(lines, code) && std::getline(lines, value)) {
    if (code == "0") entity = value;
    if (code == "0" && value == "POLYLINE") result.emplace_back();
    if (entity == "VERTEX" && code == "10") result.back().emplace_back(std::strtod(value.c_str(), nullptr), 0);
    if (entity == "VERTEX" && code == "20") result.back().back().second = std::strtod(value.c_str(), nullptr);
  }
  EXPECT_EQ(entity, "EOF");
  return result;
}

TEST(Dxf, KeepsEveryPoint) {
  std::mt19937_64 random(5);
  const auto any_number = [&] {
    double number;
    do number = std::bit_cast<double>(random());
    while (!std::isfinite(number));
    return number;
  };
  HTuple rows = 0.1, cols = -0.0;
  Points points = {{-0.0, 0.1}};
  for (int i = 0; i < 3000; ++i) {
    points.emplace_back(any_number(), any_number());
    cols.Append(points.back().first);
    rows.Append(points.back().second);
  }
  HObject contours, polygon_object;
  GenContourPolygonXld(&contours, rows, cols);
  GenPolygonXld(&polygon_object, rows, cols);
  const TempDir folder;
  WriteContourXldDxf(concat({contours, contour({1.5}, {2.5}), contour({0, 0, 3, 0}, {0, 4, 4, 0})}),
                     (folder / "c.dxf").c_str());
  WritePolygonXldDxf(polygon_object, (folder / "p.dxf").c_str());
  WritePolygonXldDxf(empty_object(), (folder / "e.dxf").c_str());
  const auto read_back = polylines(read(folder / "c.dxf"));
  ASSERT_EQ(read_back.size(), 3u);
  EXPECT_EQ(read_back[0], points);
  EXPECT_TRUE(std::signbit(read_back[0][0].first));
  EXPECT_EQ(read_back[1], (Points{{2.5, 1.5}}));
  EXPECT_EQ(read_back[2], (Points{{0, 0}, {4, 0}, {4, 3}, {0, 0}}));
  EXPECT_EQ(polylines(read(folder / "p.dxf")), std::vector<Points>{points});
  EXPECT_TRUE(polylines(read(folder / "e.dxf")).empty());
}

TEST(Dxf, RejectsWhatItCannotHoldAndLeavesTheFile) {
  const TempDir folder;
  const std::string file = folder / "old.dxf";
  write(file, "old");
  const auto failure_of = [&](auto write_dxf, const HObject& object) {
    return failure([&] { write_dxf(object, file.c_str()); });
  };
  const HObject mixed = concat({contour({1, 2}, {3, 4}), polygon({1, 2}, {3, 4})});
  EXPECT_EQ(failure_of(WriteContourXldDxf, mixed),
            "WriteContourXldDxf: '" + file + "': expects an object of class \"xld_cont\", not \"xld_poly\"");
  EXPECT_THAT(failure_of(WritePolygonXldDxf, mixed), testing::HasSubstr("not \"xld_cont\""));
  EXPECT_THAT(failure_of(WriteContourXldDxf, HObject()), testing::HasSubstr("not set"));
  EXPECT_THAT(failure_of(WriteContourXldDxf, contour({1, std::nan("")}, {3, 4})),
              testing::HasSubstr("finite position"));
  EXPECT_EQ(read(file), "old");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(native(folder.path())), {}), 1);
}

}  // namespace
