// The contract that all exports share: null pointers, indices out of range, the last-error text, one tree per Reader.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "HalconCpp.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "support/failing.h"
#include "support/files.h"
#include "support/host.h"
#include "support/objects.h"
#include "support/values.h"

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

  // Calls an extraction with each argument null in turn: all buffers that it can reach are null then, counts as before.
  template <class... Output>
  void expect_failure_of_null(int32_t (*extract)(qv_reader*, const qv_node*, int32_t, Output*...),
                              std::type_identity_t<Output>*... outputs) {
    constexpr std::size_t given = 2;
    for (std::size_t missing = 0; missing < given + sizeof...(Output); ++missing) {
      SCOPED_TRACE("argument " + std::to_string(missing) + " is null");
      (spoil(*outputs), ...);
      std::size_t position = given;
      const auto unless_missing = [&](auto* output) { return position++ == missing ? nullptr : output; };
      const std::tuple<Output*...> passed{unless_missing(outputs)...};
      qv_reader* const with = missing == 0 ? nullptr : static_cast<qv_reader*>(reader);
      const qv_node* const of = missing == 1 ? nullptr : image;
      EXPECT_EQ(std::apply([&](auto*... each) { return extract(with, of, 0, each...); }, passed), 0);
      std::apply([&](auto*... each) { (expect_no_result(each), ...); }, passed);
    }
  }
  static void spoil(uint32_t& number) { number = 7; }
  template <class T>
  void spoil(T*& buffer) {
    buffer = reinterpret_cast<T*>(this);
  }
  static void expect_no_result(const uint32_t* number) { EXPECT_TRUE(!number || *number == 7u); }
  template <class T>
  static void expect_no_result(T* const* buffer) {
    EXPECT_TRUE(!buffer || !*buffer);
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
  save_dict(sample_dict(), folder / "d.hdict");
  std::vector<const qv_node*> all{reader.dict(folder / "d.hdict")};
  for (std::size_t i = 0; i < all.size(); ++i) {
    const qv_node* const node = all[i];
    for (const qv_node* below : children(node)) all.push_back(below);
    EXPECT_EQ(qv_node_child_at(node, static_cast<int32_t>(qv_node_child_count(node))), nullptr);
    EXPECT_EQ(narrow(qv_node_detail_line_at(node, static_cast<int32_t>(qv_node_detail_line_count(node)))), "");
    const auto beyond = static_cast<int32_t>(qv_node_value_count(node));
    EXPECT_EQ(qv_node_value_type_at(node, beyond), 0u);
    EXPECT_EQ(narrow(qv_node_value_string_at(node, beyond)), "");
    EXPECT_EQ(qv_node_value_int_at(node, beyond), 0);
    EXPECT_EQ(qv_node_value_real_at(node, beyond), 0.0);
  }
  EXPECT_GT(all.size(), 20u);
}

TEST_F(Contract, FullTextsNeedBothAndLeaveTheErrorAlone) {
  EXPECT_EQ(qv_node_image_channel_count(reader, image, 0), 1);
  EXPECT_FALSE(reader.save(image, folder / "no/such/folder.png"));
  const std::string text = reader.error();
  ASSERT_NE(text, "");
  EXPECT_EQ(narrow(qv_node_full_value_text(nullptr, image)), "");
  EXPECT_EQ(narrow(qv_node_full_value_text(reader, nullptr)), "");
  EXPECT_EQ(reader.full(root), "");
  EXPECT_EQ(reader.full(image), "");
  EXPECT_EQ(reader.error(), text);
  EXPECT_EQ(qv_node_image_channel_count(reader, image, 0), 1);
  EXPECT_EQ(reader.error(), "");  // a channel count clears it
}

TEST(ReaderSettings, RegionsAreKeptWholeWhereHalconLets) {
  const auto clips = [] {
    HTuple answer;
    HalconCpp::GetSystem("clip_region", &answer);
    return std::string(answer[0].S().Text());
  };
  for (int round = 0; round < 2; ++round) {
    HalconCpp::SetSystem("clip_region", "true");
    const Reader reader;
    EXPECT_EQ(clips(), "false") << "Reader " << round;
  }
  HalconCpp::SetSystem("clip_region", "true");
  const Failing failing("SetSystem");
  const Reader reader;
  EXPECT_TRUE(failing.met);
  EXPECT_EQ(clips(), "true");
  EXPECT_TRUE(static_cast<qv_reader*>(reader));
  EXPECT_EQ(reader.error(), "");
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
      [&] { return qv_save_object_as(nullptr, image, file) + qv_save_object_as(r, nullptr, file); },
      [&] { return qv_save_object_as(r, image, nullptr); },
      [&] { return qv_save_objects_as(r, nullptr, 1, file) + qv_save_objects_as(r, nodes, 0, file); },
      [&] { return qv_save_objects_as(r, nodes, -1, file) + qv_save_objects_as(r, nodes, 1, nullptr); },
      [&] {
        return qv_reader_convert_dict_file(r, nullptr, file, 0) + qv_reader_convert_dict_file(r, file, nullptr, 0);
      },
  };
  for (std::size_t i = 0; i < std::size(calls); ++i) {
    EXPECT_EQ(calls[i](), 0) << "call " << i;
    EXPECT_EQ(reader.error(), text) << "call " << i;
  }
  expect_failure_of_null(qv_extract_image, &width, &height, &stride, &format, &pixels);
  expect_failure_of_null(qv_extract_contour_points, &rows, &cols, &count);
  expect_failure_of_null(qv_extract_polygon_points, &rows, &cols, &count);
  expect_failure_of_null(qv_extract_parallel_lines, &rows, &cols, &count, &rows2, &cols2, &count2);
  expect_failure_of_null(qv_extract_region_runs, &runs, &begins, &ends, &count);
  EXPECT_EQ(reader.error(), text);
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

}  // namespace
