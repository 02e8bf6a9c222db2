// The container format: what is written reads back equal to the last bit, and damaged or incomplete files are rejected.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <limits>
#include <random>
#include <string>
#include <tuple>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "support/bytes.h"
#include "support/files.h"
#include "support/objects.h"
#include "support/small_stack.h"
#include "support/values.h"

namespace {

using namespace HalconCpp;
using namespace test;
using testing::HasSubstr;

const double nan_with_payload = std::bit_cast<double>(0x7FF4000000ABCDEFu);

HTuple odd_reals() { return tuple({0.1, -0.0, 5e-324, -std::numeric_limits<double>::infinity(), nan_with_payload}); }

HObject every_kind_of_object() {
  HObject odd_pixels, odd_points, no_region, region;
  const std::uint32_t pixels[] = {0x7FA00001, 0x80000000, 0x00000001, 0xFF800000};
  GenImage1(&odd_pixels, "real", 2, 2, pixels);
  GenContourPolygonXld(&odd_points, odd_reals(), odd_reals());
  GenEmptyRegion(&no_region);
  GenRegionRuns(&region, tuple({INT_MIN, 0, 0, INT_MAX}), tuple({INT_MIN, 3, 9, 5}), tuple({INT_MAX, 6, 12, 5}));
  HObject all = concat({odd_pixels, odd_points, no_region, parallels(), polygon({1, 2.5}, {3, 4}), contour({7}, {8}),
                        region, with_domain(ramp(5, 4, 3), 1, 1, 2, 3), with_domain(ramp(3, 3), 7, 7, 9, 9)});
  for (const char* type : {"byte", "int1", "int2", "uint2", "int4", "int8", "real"})
    for (const int channels : {1, 2, 5}) all = concat({all, ramp(7, 3, channels, type)});
  return concat({all, ramp(700, 500, 2)});
}

HTuple numbers(Hlong count) {
  HTuple result;
  for (Hlong i = 0; i < count; ++i) result.Append(i * 0x123456789);
  return result;
}

HTuple every_kind_of_value() {
  HTuple points, sphere, texts, row, begin, end;
  const HTuple matrix = new_matrix(2, 3, tuple({1.5, 2.5, 3.5, 4.5, 5.5, nan_with_payload})),
               no_matrix = new_matrix(0, 5, 1.0);
  GenObjectModel3dFromPoints(odd_reals(), odd_reals(), odd_reals(), &points);
  GenSphereObjectModel3d(1, 2, 3, 0.5, &sphere);
  const HTuple model =
      new_dl_model(new_dict({{"layers", tuple({"conv", "pool"})}, {"inner", new_dict({{1, new_dict()}})}}));
  for (int i = 0; i < 9000; ++i) texts.Append(std::string(static_cast<std::size_t>(i % 40), 'x').c_str());
  GetRegionRuns(rectangle(4, 1, 6, 7), &row, &begin, &end);
  HTuple dict = new_dict({{"", HTuple()},
                          {"integer", Hlong{-5}},
                          {"real", nan_with_payload},
                          {"text", "\u00e4 \U0001F600"},
                          {"no text", ""},
                          {"reals", odd_reals()},
                          {"32 bits", row},
                          {"equal", texts.TupleIsIntElem()},
                          {"equal texts", row.TupleSemTypeElem()},
                          {"texts", texts},
                          {"mixed", tuple({1, 2.5, "three", new_dict({{4, 5}}), matrix, HTuple(HHandle())})},
                          {"handles", tuple({new_dict({{1.5, 2}}), points, new_dict(), sphere})},
                          {"matrix", matrix},
                          {"no matrix", no_matrix},
                          {"points", points},
                          {"model", model},
                          {7, new_dict({{"down", new_dict({{"deeper", tuple({new_dict(), new_dict()})}})}})},
                          {7.0, "another key"}});
  // Below, at and above the size of the buffers that files go through.
  for (const Hlong count : {2, 8190, 8191, 8192, 8193, 17000}) SetDictTuple(dict, count, numbers(count));
  SetDictObject(every_kind_of_object(), dict, "objects");
  SetDictObject(empty_object(), dict, "no objects");
  return dict;
}

TEST(Container, HoldsEveryKindOfValue) {
  const TempDir folder;
  for (const char* name : {"objects.hobj", "other.extension", "none"}) {
    save(every_kind_of_object(), folder / name);
    EXPECT_EQ(shown(read_objects(folder / name)), shown(every_kind_of_object()));
    save(empty_object(), folder / name);
    EXPECT_EQ(shown(read_objects(folder / name)), shown(empty_object()));
  }
  save_dict(every_kind_of_value(), folder / "all.hdict");
  EXPECT_EQ(shown(read_dict(folder / "all.hdict")), shown(every_kind_of_value()));
}

TEST(Container, HoldsModels) {
  const TempDir folder;
  write(folder / "mesh.off", "CNOFF\n3 1 0\n0 0 0 0 0 1 1 2 3\n1 0 0 0 1 0 4 5 6\n0 0.1 nan 1 0 0 7 8 9\n3 2 1 0\n");
  const HTuple mesh = read_model3d(folder / "mesh.off");
  WriteObjectModel3d(mesh, (folder / "mesh.om3").c_str());
  const HTuple back = read_model3d(folder / "mesh.om3");
  EXPECT_EQ(shown(back), shown(mesh));
  const HTuple names = tuple({"point_coord_x", "point_coord_y", "point_coord_z", "point_normal_x", "point_color_red",
                              "point_color_blue", "triangles"});
  const std::string after = shown(model3d_param(back, names));
  EXPECT_EQ(after, shown(model3d_param(mesh, names)));
  EXPECT_THAT(after, testing::EndsWith("3,6,9,2,1,0)"));
  const HTuple model =
      new_dl_model(new_dict({{"type", "classification"}, {"inputs", tuple({new_dict(), new_dict({{"n", 1}})})}}));
  WriteDlModel(model, (folder / "model.hdl").c_str());
  EXPECT_EQ(shown(read_dl_model(folder / "model.hdl")), shown(model));
}

// A container that somebody else made; its checksum is never right.
struct File {
  std::string bytes = "QVHALCON\1";
  File& tags(std::initializer_list<std::int64_t> values) { return add(le(values, 1)); }
  File& ints(std::initializer_list<std::int64_t> values) { return add(le(values)); }
  File& counts(std::initializer_list<std::int64_t> values) { return add(le(values, 8)); }
  File& add(const std::string& more) { return bytes += more, *this; }
  void write_to(const std::string& path) const { write(path, bytes + "checksum"); }
};

TEST(Container, NestsAsDeepAsTheLimitAndNoDeeper) {
  const TempDir folder;
  on_small_stack([&] {
    save_dict(nested_dicts(1024), folder / "deep");
    HTuple dict = read_dict(folder / "deep"), inner;
    int levels = 1;
    for (; HDict(dict[0].H()).GetDictParam("keys", HTuple()).Length() == 1; ++levels) {
      GetHandleTuple(dict, "in", &inner);
      dict = inner[0];
    }
    EXPECT_EQ(levels, 1024);
    EXPECT_THAT(failure([&] { save_dict(nested_dicts(1025), folder / "deeper"); }), HasSubstr("1024 levels"));
    File file;  // 1025 dictionaries with the key 0: each is the value in the one after it
    file.tags({1}).counts({1025});
    for (int i = 0; i < 1025; ++i) file.tags({1, 1}).counts({0}).tags({4}).counts({i});
    file.write_to(folder / "deeper");
    EXPECT_THAT(failure([&] { read_dict(folder / "deeper"); }), HasSubstr("1024 levels"));
  });
}

TEST(Container, ReadsATreeWhateverWasShared) {
  const TempDir folder;
  const HTuple shared = new_dict({{"n", 1}});
  save_dict(new_dict({{"both", tuple({shared, shared})}}), folder / "dict");
  const HTuple both = HDict(read_dict(folder / "dict")[0].H()).GetDictTuple("both");
  SetDictTuple(both[0], "n", 2);
  EXPECT_EQ(shown(both[1]), shown(shared));

  HTuple doubling = new_dict();
  for (int i = 0; i < 60; ++i) doubling = new_dict({{"both", tuple({doubling, doubling})}});
  EXPECT_THAT(failure([&] { save_dict(doubling, folder / "large"); }), HasSubstr("1048576 times"));
  const HTuple own = new_dict();
  SetDictTuple(own, "self", own);
  EXPECT_THAT(failure([&] { save_dict(own, folder / "large"); }), HasSubstr("key 'self': nested"));
  SetDictTuple(own, "self", 0);  // a dictionary that holds itself is never freed
  EXPECT_FALSE(std::filesystem::exists(native(folder / "large")));
}

TEST(Container, RejectsEveryCutAndEveryChange) {
  const TempDir folder;
  const HTuple dict = new_dict({{"n", tuple({1, "two", 3.5})}, {2, tuple({"a", "bc"})}, {"d", new_dict({{1, 1.5}})}});
  SetDictObject(concat({with_domain(ramp(3, 2), 0, 0, 1, 1), parallels(), rectangle(1, 2, 3, 4)}), dict, "o");
  save_dict(dict, folder / "whole");
  const std::string whole = read(folder / "whole");
  const auto is_rejected = [&](const std::string& bytes) {
    std::filesystem::remove(native(folder / "bad"));  // writing over a file may wait for the disk
    write(folder / "bad", bytes);
    const std::string message = failure([&] { read_dict(folder / "bad"); });
    return message.starts_with("ReadDict: '" + folder / "bad" + "': ") && message.find('\n') == std::string::npos;
  };
  EXPECT_FALSE(is_rejected(whole));
  EXPECT_TRUE(is_rejected(whole + "x"));
  for (std::size_t length = 0; length < whole.size(); ++length) EXPECT_TRUE(is_rejected(whole.substr(0, length)));
  for (std::size_t at = 0; at < whole.size(); ++at)
    for (const int change : {1, 3, 0x80}) {
      std::string changed = whole;
      changed[at] = static_cast<char>(changed[at] ^ change);
      EXPECT_TRUE(is_rejected(changed)) << at << " ^ " << change;
    }
  std::mt19937 random(7);
  for (int i = 0; i < 1000; ++i) {
    std::string changed = whole;
    for (int k = 0; k < 3; ++k) changed[random() % whole.size()] = static_cast<char>(random());
    EXPECT_TRUE(changed == whole || is_rejected(changed)) << i;
  }
}

TEST(Container, RejectsContentThatCannotBe) {
  const auto object = [](int object_class) { return File().tags({0}).counts({1}).tags({object_class}); };
  const auto dict = [] { return File().tags({1}).counts({1}).tags({1}); };
  const auto value = [] { return File().tags({1}).counts({1}).tags({1, 1}).counts({0}); };
  const auto two_dicts = [] { return File().tags({1}).counts({2}).tags({1, 0, 1}); };
  const auto matrix = [] { return File().tags({1}).counts({2}).tags({2}); };
  const auto model = [] { return File().tags({1}).counts({2}).tags({3}); };
  constexpr std::int64_t huge = INT64_MIN, eighth = std::int64_t{1} << 61, one = std::bit_cast<std::int64_t>(1.0);
  const std::tuple<File, const char*> cases[] = {
      {File().tags({1}).counts({huge}), "declares 9223372036854775808 elements"},
      {File().tags({1}).counts({0}), "that nothing refers to"},
      {File().tags({1}).counts({1}).tags({2}).counts({0, 0}).tags({0}), "another type"},
      {File().tags({4}).counts({1}), "holds a deep-learning model: ReadDlModel opens it"},
      {dict().tags({8}).counts({huge}), "declares 9223372036854775808 elements"},
      {dict().tags({5}).counts({2, 6, 6}).tags({0, 0}), "a key twice"},
      {dict().tags({5}).counts({2, 6, 7}).tags({0}), "more keys than values"},
      {dict().tags({9}).counts({1}).tags({4}).counts({0}).tags({0}), "a key is one"},
      {value().tags({4}).counts({1}), "a part that is not there"},
      {value().tags({5}).counts({huge}), "declares 9223372036854775808 elements"},
      {value().tags({7}).counts({eighth}), "declares 2305843009213693952 elements"},
      {value().tags({8}).counts({1, 1}).ints({2}).tags({'x'}), "longer than all texts"},
      {value().tags({99}), "unknown type 99"},
      {two_dicts().tags({0}), "that nothing refers to"},
      {two_dicts().tags({1}).counts({0}).tags({9}).counts({2}).tags({4}).counts({1}).tags({4}).counts({1}),
       "a part that is not there"},
      {matrix().counts({2, 2}).tags({2}).counts({one}), "values of a matrix"},
      {matrix().counts({eighth, eighth}).tags({0}), "values of a matrix"},
      {matrix().counts({1, 1}).tags({1}).counts({1}), "values of a matrix"},
      {model().counts({0}).tags({2}).counts({one}).tags({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}), "columns of a 3D model"},
      {model().counts({1}).tags({0, 0, 0, 0, 0, 0, 0, 0, 0, 1}).counts({0}).tags({0, 0}), "a 3D model has 0 where"},
      {object(9).counts({0}), "unknown class"},
      {object(2).counts({huge}), "declares 9223372036854775808 elements"},
      {object(1).counts({2}).ints({5, 4, 0, 0, 1, 1}), "out of order"},
      {object(1).counts({2}).ints({5, 5, 0, 1, 1, 2}), "out of order"},
      {object(1).counts({1}).ints({5, 1, 0}), "out of order"},
      {object(0).tags({0}).ints({INT_MIN, INT_MIN, 1}), "2147483648 x 2147483648 pixels"},
      {object(0).tags({0}).ints({1 << 12, 1 << 12, 1}).tags({0}), "is cut short"},
      {object(0).tags({7}).ints({1, 1, 1}).tags({0, 0}), "unknown pixel type"},
      {object(0).tags({0}).ints({2, 2, 1}).tags({1}).counts({1}).ints({1, 1, 2, 0}), "reaches outside"},
  };
  const TempDir folder;
  for (const auto& [file, reason] : cases) {
    file.write_to(folder / "bad");
    EXPECT_THAT(failure([&] { read_objects(folder / "bad"); }) + failure([&] { read_dict(folder / "bad"); }),
                HasSubstr(reason));
  }
}

TEST(Container, SaysWhatAForeignFileIs) {
  const TempDir folder;
  const struct {
    const char* name;
    const char* content;
    const char* reason;
  } cases[] = {{"empty.hobj", "", "the file is empty"},
               {"other.hobj", "no such thing", "an installed HALCON"},
               {"short.HOBJ", "x", "an installed HALCON"},
               {"other.bin", "no such thing", "is not an object file of a known format"},
               {"new.hobj", "QVHALCON\7\1 and more", "container of version 7"},
               {"dict.hobj", "QVHALCON\1\1 and more", "holds a dictionary: ReadDict opens it"},
               {"model.om3", "QVHALCON\1\3 and more", "holds a 3D object model: ReadObjectModel3d opens it"},
               {"model.hdl", "QVHALCON\1\4 and more", "holds a deep-learning model: ReadDlModel opens it"}};
  for (const auto& each : cases) {
    write(folder / each.name, each.content);
    EXPECT_THAT(failure([&] { read_objects(folder / each.name); }), HasSubstr(each.reason)) << each.name;
  }
  EXPECT_THAT(failure([&] { read_objects(folder / "none.hobj"); }), HasSubstr("no such file"));
  EXPECT_THAT(failure([&] { save(HObject(), folder / "unset"); }), HasSubstr("not set"));
  EXPECT_FALSE(std::filesystem::exists(native(folder / "unset")));
}

}  // namespace
