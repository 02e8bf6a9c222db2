// Pixels and geometry as a host receives them.
#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "support/failing.h"
#include "support/files.h"
#include "support/host.h"
#include "support/objects.h"
#include "support/values.h"

namespace {

using namespace test;

// "3x1/9 format 1: 20 10 0 ..." (the stride after the size); empty when there are no pixels.
std::string extract(const Reader& reader, const qv_node* node, int32_t index = 0) {
  uint32_t width = 7, height = 7, stride = 7, format = 7;
  uint8_t* buffer = nullptr;
  const int32_t ok = qv_extract_image(reader, node, index, &width, &height, &stride, &format, &buffer);
  EXPECT_EQ(ok == 1, buffer != nullptr);
  std::ostringstream text;
  if (buffer) text << width << "x" << height << "/" << stride << " format " << format << ":";
  for (uint32_t i = 0; buffer && i < stride * height; ++i) text << " " << int{buffer[i]};
  qv_free_buffer(buffer);
  return text.str();
}

class Extract : public ::testing::Test {
 protected:
  const qv_node* open(const HObject& object) {
    save(object, folder / "o.hobj");
    const qv_node* root = reader.objects(folder / "o.hobj");
    EXPECT_TRUE(root) << reader.error();
    return qv_node_child_at(root, 0);
  }
  // A node that holds a tuple of several objects.
  const qv_node* open_tuple(const HObject& objects) {
    const HTuple dict = new_dict();
    HalconCpp::SetDictObject(objects, dict, "objects");
    save_dict(dict, folder / "t.hdict");
    const qv_node* root = reader.dict(folder / "t.hdict");
    EXPECT_TRUE(root) << reader.error();
    return qv_node_child_at(root, 0);
  }

  TempDir folder;
  Reader reader;
};

TEST_F(Extract, LayoutsByChannelsAndDomain) {
  static_assert(QV_PIXELS_GRAY8 == 0 && QV_PIXELS_BGR24 == 1 && QV_PIXELS_BGRA32 == 2);
  const HObject color = ramp(2, 1, 3), four = ramp(2, 1, 4);
  const std::tuple<HObject, int32_t, const char*> cases[] = {
      {ramp(3, 2), 1, "3x2/3 format 0: 0 1 2 3 4 5"},
      {ramp(1, 1), 1, "1x1/1 format 0: 0"},
      {with_domain(ramp(3, 1), 0, 1, 0, 9), 1, "3x1/12 format 2: 0 0 0 0 1 1 1 255 2 2 2 255"},
      {with_domain(ramp(2, 1), 5, 5, 5, 5), 1, "2x1/8 format 2: 0 0 0 0 1 1 1 0"},
      {ramp(3, 1, 3), 3, "3x1/9 format 1: 20 10 0 21 11 1 22 12 2"},
      {with_domain(color, 0, 0, 0, 0), 3, "2x1/8 format 2: 20 10 0 255 21 11 1 0"},
      {four, 4, "2x1/8 format 2: 20 10 0 30 21 11 1 31"},
      {with_domain(four, 0, 0, 0, 0), 4, "2x1/8 format 2: 20 10 0 30 21 11 1 31"},
      {ramp(3, 1, 1, "uint2"), 1, "3x1/3 format 0: 0 128 255"},
      {ramp(2, 1, 3, "real"), 3, "2x1/6 format 1: 243 121 0 255 134 12"},
      {ramp(3, 2, 2), 2, ""},  // no drawing, and no text
      {ramp(3, 2, 5), 5, ""},
  };
  for (const auto& [image, channels, pixels] : cases) {
    const qv_node* node = open(image);
    EXPECT_EQ(qv_node_image_channel_count(reader, node, 0), channels);
    EXPECT_EQ(extract(reader, node), pixels);
    EXPECT_EQ(reader.error(), "");
  }
}

TEST_F(Extract, FailuresHaveATextUntilThePixelStage) {
  const qv_node* node = open(with_domain(ramp(2, 1, 3, "uint2"), 0, 0, 0, 0));
  for (const char* with_text : {"SelectObj", "ConvertImageType", "ScaleImageMax"}) {
    const Failing failing(with_text);
    EXPECT_EQ(extract(reader, node), "");
    EXPECT_TRUE(failing.met) << with_text;
    EXPECT_NE(reader.error().find("made to fail"), std::string::npos) << with_text;
  }
  for (const char* without : {"CountChannels", "GetDomain", "AreaCenter", "RegionToBin", "InterleaveChannels"}) {
    const Failing failing(without);
    EXPECT_EQ(extract(reader, node), "");
    EXPECT_TRUE(failing.met) << without;
    EXPECT_EQ(reader.error(), "") << without;
  }
}

TEST_F(Extract, MixedTuplesAnswerByObject) {
  const qv_node* node = open_tuple(concat({ramp(2, 1), rectangle(0, 0, 0, 0), ramp(1, 1)}));
  EXPECT_EQ(extract(reader, node, 2), "1x1/1 format 0: 0");
  EXPECT_EQ(qv_node_image_channel_count(reader, node, 1), -1);
  EXPECT_NE(reader.error(), "");
  EXPECT_EQ(extract(reader, node, 1), "");
  EXPECT_NE(reader.error(), "");
  const qv_node* region_first = open_tuple(concat({rectangle(0, 0, 0, 0), ramp(2, 1)}));
  EXPECT_EQ(qv_node_image_channel_count(reader, region_first, 1), -1);
  EXPECT_EQ(reader.error(), "");
  EXPECT_NE(extract(reader, region_first, 1), "");
}

TEST_F(Extract, GeometryComesAsParallelArrays) {
  double *rows = nullptr, *cols = nullptr, *rows2 = nullptr, *cols2 = nullptr;
  uint32_t count = 0, count2 = 0;
  const auto points = [&](double* row, double* col, uint32_t n) {
    std::vector<std::pair<double, double>> result;
    for (uint32_t i = 0; i < n; ++i) result.emplace_back(row[i], col[i]);
    qv_free_double_buffer(row);
    qv_free_double_buffer(col);
    return result;
  };
  using Points = std::vector<std::pair<double, double>>;
  ASSERT_EQ(qv_extract_contour_points(reader, open(contour({0.25, 1, 1}, {2, 3, 4.5})), 0, &rows, &cols, &count), 1);
  EXPECT_EQ(points(rows, cols, count), (Points{{0.25, 2}, {1, 3}, {1, 4.5}}));
  ASSERT_EQ(qv_extract_polygon_points(reader, open(polygon({5, 6}, {7, 8})), 0, &rows, &cols, &count), 1);
  EXPECT_EQ(points(rows, cols, count), (Points{{5, 7}, {6, 8}}));
  ASSERT_EQ(qv_extract_parallel_lines(reader, open(parallels()), 0, &rows, &cols, &count, &rows2, &cols2, &count2), 1);
  EXPECT_EQ(points(rows, cols, count), (Points{{0, 0}, {0, 10}}));
  EXPECT_EQ(points(rows2, cols2, count2), (Points{{4, 1}, {4, 5}, {4, 9.5}}));

  int32_t *run_rows = nullptr, *begins = nullptr, *ends = nullptr;
  ASSERT_EQ(qv_extract_region_runs(reader, open(rectangle(-3, 5, -2, 900)), 0, &run_rows, &begins, &ends, &count), 1);
  ASSERT_EQ(count, 2u);
  EXPECT_EQ((std::vector<int>{run_rows[0], begins[0], ends[0], run_rows[1], begins[1], ends[1]}),
            (std::vector<int>{-3, 5, 900, -2, 5, 900}));
  for (int32_t* buffer : {run_rows, begins, ends}) qv_free_int_buffer(buffer);
}

TEST_F(Extract, NoPointsAndRunsAreBlocksOfTheirOwn) {
  HObject empty;
  HalconCpp::GenEmptyRegion(&empty);
  int32_t* blocks[3] = {};
  uint32_t count = 7;
  ASSERT_EQ(qv_extract_region_runs(reader, open(empty), 0, &blocks[0], &blocks[1], &blocks[2], &count), 1);
  EXPECT_EQ(count, 0u);
  EXPECT_TRUE(blocks[0] && blocks[1] && blocks[2]);
  EXPECT_TRUE(blocks[0] != blocks[1] && blocks[1] != blocks[2] && blocks[0] != blocks[2]);
  for (int32_t* block : blocks) qv_free_int_buffer(block);
}

TEST_F(Extract, OddAnswersAreNoPixels) {
  const qv_node* gray = open(ramp(2, 2));
  {
    const Answering null_pixels("GetImagePointer1Rect");
    EXPECT_EQ(extract(reader, gray), "");
    EXPECT_EQ(reader.error(), "");
  }
  const Answering no_area("AreaCenter");  // no area at all: the domain counts as whole
  EXPECT_EQ(extract(reader, gray), "2x2/2 format 0: 0 1 2 3");
}

}  // namespace
