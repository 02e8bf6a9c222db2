// Files that every provider of the class interface opens, through the host interface alone: what can be tested against
// an installed HALCON too.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "support/files.h"
#include "support/host.h"

namespace {

using namespace test;

constexpr std::string_view image_of_6_pixels("P5 3 2 255\n\0\1\2\3\4\5", 17);

TEST(PlainFiles, OpenAsTrees) {
  const TempDir folder;
  write(folder / "image.pgm", image_of_6_pixels);
  write(folder / "list.seq", "image.pgm\nimage.pgm\n");
  write(folder / "values.json", R"({"count": 5, "name": "washer", "mean": 2.5, "nested": {"list": [1, 2, 3]}})");
  const struct {
    FileKind kind;
    const char* file;
    std::vector<std::string> shown;  // type label and summary of the root's children
  } rows[] = {
      {FileKind::Object, "image.pgm", {"image 3x2, 1ch, byte"}},
      {FileKind::Object, "list.seq", {"image 3x2, 1ch, byte", "image 3x2, 1ch, byte"}},
      {FileKind::Dict, "values.json", {"integer 5", "string 'washer'", "real 2.5", "dict 1 key"}},
  };
  const Reader reader;
  for (const auto& row : rows) {
    const qv_node* root = reader.parse(row.kind, folder / row.file);
    ASSERT_TRUE(root) << row.file << ": " << reader.error();
    std::vector<std::string> shown;
    for (const qv_node* node : children(root)) shown.push_back(type(node) + " " + summary(node));
    EXPECT_EQ(shown, row.shown) << row.file;
  }
}

TEST(PlainFiles, GivePixelsThatOutliveTheReader) {
  const TempDir folder;
  write(folder / "image.pgm", image_of_6_pixels);
  uint32_t width = 0, height = 0, stride = 0, format = 7;
  uint8_t* pixels = nullptr;
  {
    const Reader reader;
    const qv_node* image = qv_node_child_at(reader.objects(folder / "image.pgm"), 0);
    ASSERT_EQ(qv_extract_image(reader, image, 0, &width, &height, &stride, &format, &pixels), 1) << reader.error();
  }
  EXPECT_EQ(std::vector({width, height, format}), std::vector({3u, 2u, uint32_t{QV_PIXELS_GRAY8}}));
  ASSERT_GE(stride, width);
  EXPECT_EQ(pixels[stride + 2], 5);
  qv_free_int_buffer(reinterpret_cast<int32_t*>(pixels));  // any of the three takes any buffer
}

TEST(PlainFiles, ReportMissingAndDamagedOnes) {
  const TempDir folder;
  write(folder / "cut.json", "{\"a\": [1, ");
  write(folder / "no.pgm", "no image");
  const Reader reader;
  for (const char* file : {"missing.json", "cut.json"}) {
    EXPECT_EQ(reader.dict(folder / file), nullptr) << file;
    EXPECT_NE(reader.error(), "") << file;
  }
  for (const char* file : {"missing.pgm", "no.pgm"}) {
    EXPECT_EQ(reader.objects(folder / file), nullptr) << file;
    EXPECT_NE(reader.error(), "") << file;
  }
}

}  // namespace
