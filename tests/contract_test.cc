// The contract that all exports share: null pointers, indices out of range, the last-error text, one tree per Reader.
#include <gtest/gtest.h>

#include <functional>

#include "support/files.h"
#include "support/host.h"
#include "support/objects.h"

namespace {

using namespace test;

class Contract : public ::testing::Test {
 protected:
  void SetUp() override {
    save(concat({ramp(3, 2), rectangle(0, 0, 1, 1)}), folder / "two.hobj");
    root = reader.objects(folder / "two.hobj");
    ASSERT_TRUE(root) << reader.error();
    image = qv_node_child_at(root, 0);
  }
  TempDir folder;
  Reader reader;
  const qv_node* root = nullptr;
  const qv_node* image = nullptr;
  double *rows = nullptr, *cols = nullptr, *rows2 = nullptr, *cols2 = nullptr;
  int32_t *runs = nullptr, *begins = nullptr, *ends = nullptr;
  uint32_t width = 7, height = 7, stride = 7, format = 7, count = 7, count2 = 7;
  uint8_t* pixels = nullptr;
};

TEST_F(Contract, NullNodesAndBadIndicesGiveTheDefaults) {
  EXPECT_EQ(dump(nullptr), "0 0/0 '' <>  n=0 t=0  i=0 o=1 d=0\n");
  EXPECT_EQ(qv_node_child_count(nullptr), 0);
  for (const qv_node* node : {static_cast<const qv_node*>(nullptr), root, image})
    for (const int32_t index : {INT32_MIN, -1, static_cast<int32_t>(qv_node_child_count(node)), 2, INT32_MAX}) {
      EXPECT_EQ(qv_node_child_at(node, index), nullptr);
      EXPECT_EQ(qv_node_value_type_at(node, index), 0u);
      EXPECT_EQ(narrow(qv_node_value_string_at(node, index)), "");
      EXPECT_EQ(qv_node_value_int_at(node, index), 0);
      EXPECT_EQ(qv_node_value_real_at(node, index), 0.0);
      EXPECT_EQ(narrow(qv_node_detail_line_at(node, index)), "");
    }
  EXPECT_EQ(narrow(qv_node_full_value_text(nullptr, image)), "");
  EXPECT_EQ(narrow(qv_node_full_value_text(reader, nullptr)), "");
  EXPECT_EQ(reader.full(root), "");
}

TEST_F(Contract, NullPointersFailAndLeaveTheTextAlone) {
  EXPECT_FALSE(qv_extract_contour_points(reader, image, 0, &rows, &cols, &count));
  const std::string text = reader.error();  // calls with null pointers leave it as it is
  ASSERT_NE(text, "");
  const std::u16string path = wide(folder / "out.hobj");
  const qv_char* file = units(path);
  qv_reader* r = reader;
  const qv_node* nodes[] = {image};
  const std::function<int()> calls[] = {
      [&] { return qv_reader_parse_file(r, nullptr) != nullptr; },
      [&] { return qv_reader_parse_file(nullptr, file) != nullptr; },
      [&] { return qv_reader_parse_file_with_options(r, nullptr, nullptr, 0) != nullptr; },
      [&] { return qv_reader_parse_object_file(r, nullptr) != nullptr; },
      [&] { return qv_reader_parse_object_model_3d_file(r, nullptr) != nullptr; },
      [&] { return qv_reader_parse_dl_model_file(r, nullptr) != nullptr; },
      [&] { return qv_node_image_channel_count(nullptr, image, 0) + 1; },
      [&] { return qv_node_image_channel_count(r, nullptr, 0) + 1; },
      [&] { return qv_extract_image(nullptr, image, 0, &width, &height, &stride, &format, &pixels); },
      [&] { return qv_extract_image(r, nullptr, 0, &width, &height, &stride, &format, &pixels); },
      [&] { return qv_extract_image(r, image, 0, nullptr, &height, &stride, &format, &pixels); },
      [&] { return qv_extract_image(r, image, 0, &width, nullptr, &stride, &format, &pixels); },
      [&] { return qv_extract_image(r, image, 0, &width, &height, nullptr, &format, &pixels); },
      [&] { return qv_extract_image(r, image, 0, &width, &height, &stride, nullptr, &pixels); },
      [&] { return qv_extract_image(r, image, 0, &width, &height, &stride, &format, nullptr); },
      [&] { return qv_extract_contour_points(r, image, 0, nullptr, &cols, &count); },
      [&] { return qv_extract_contour_points(r, image, 0, &rows, nullptr, &count); },
      [&] { return qv_extract_polygon_points(r, image, 0, &rows, &cols, nullptr); },
      [&] { return qv_extract_parallel_lines(r, image, 0, &rows, &cols, nullptr, &rows2, &cols2, &count2); },
      [&] { return qv_extract_parallel_lines(r, image, 0, &rows, &cols, &count, &rows2, nullptr, &count2); },
      [&] { return qv_extract_region_runs(r, image, 0, &runs, &begins, nullptr, &count); },
      [&] { return qv_save_object_as(nullptr, image, file) + qv_save_object_as(r, nullptr, file); },
      [&] { return qv_save_object_as(r, image, nullptr); },
      [&] { return qv_save_objects_as(r, nullptr, 1, file) + qv_save_objects_as(r, nodes, 0, file); },
      [&] { return qv_save_objects_as(r, nodes, -1, file) + qv_save_objects_as(r, nodes, 1, nullptr); },
      [&] {
        return qv_reader_convert_dict_file(r, nullptr, file, 0) + qv_reader_convert_dict_file(r, file, nullptr, 0);
      },
  };
  for (std::size_t i = 0; i < std::size(calls); ++i) {
    rows = cols = rows2 = cols2 = reinterpret_cast<double*>(this);
    runs = begins = ends = reinterpret_cast<int32_t*>(this);
    pixels = reinterpret_cast<uint8_t*>(this);
    EXPECT_EQ(calls[i](), 0) << "call " << i;
    EXPECT_EQ(reader.error(), text) << "call " << i;
  }
  EXPECT_EQ(width + height + stride + format + count + count2, 42u);
  EXPECT_EQ(type(qv_node_child_at(root, 1)), "region");  // the tree stays
  qv_reader_destroy(nullptr);
  qv_free_buffer(nullptr);
  qv_free_double_buffer(nullptr);
  qv_free_int_buffer(nullptr);
  EXPECT_EQ(narrow(qv_reader_last_error(nullptr)), "");
}

TEST_F(Contract, FailedExtractionsNullTheBuffersOnly) {
  for (const int32_t index : {-1, 1, INT32_MAX, 0}) {
    rows = cols = reinterpret_cast<double*>(this);
    EXPECT_EQ(qv_extract_polygon_points(reader, image, index, &rows, &cols, &count), 0);
    EXPECT_EQ(rows, nullptr);
    EXPECT_EQ(cols, nullptr);
    EXPECT_EQ(count, 7u);
    EXPECT_EQ(reader.error().empty(), index != 0) << reader.error();
  }
  for (const int32_t index : {-1, 1}) {
    pixels = reinterpret_cast<uint8_t*>(this);
    EXPECT_EQ(qv_extract_image(reader, image, index, &width, &height, &stride, &format, &pixels), 0);
    EXPECT_EQ(pixels, nullptr);
    EXPECT_EQ(qv_node_image_channel_count(reader, image, index), -1);
    EXPECT_EQ(reader.error(), "");
  }
}

TEST_F(Contract, EachParseReplacesTheTree) {
  save(rectangle(0, 0, 0, 0), folder / "one.hobj");
  EXPECT_EQ(summary(reader.objects(folder / "one.hobj")), "1 object");
  EXPECT_EQ(reader.error(), "");
  EXPECT_EQ(reader.objects(folder / "none.hobj"), nullptr);
  EXPECT_NE(reader.error(), "");
  EXPECT_EQ(summary(reader.objects(folder / "one.hobj")), "1 object");
  EXPECT_EQ(reader.error(), "");
}

TEST_F(Contract, BuffersOutliveTheReader) {
  uint8_t* own = nullptr;
  {
    Reader short_lived;
    const qv_node* node = qv_node_child_at(short_lived.objects(folder / "two.hobj"), 0);
    ASSERT_EQ(qv_extract_image(short_lived, node, 0, &width, &height, &stride, &format, &own), 1);
  }
  EXPECT_EQ(own[5], 5);
  qv_free_int_buffer(reinterpret_cast<int32_t*>(own));  // any of the three takes any buffer
}

}  // namespace
