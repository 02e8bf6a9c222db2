// Dictionaries, tuples and handles as trees.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <string_view>

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
using HalconCpp::SetDictTuple;

HTuple sequence(int count) {
  HTuple all;
  for (int i = 0; i < count; ++i) all.Append(i);
  return all;
}

// A node and all below it, a line each: label, type and summary, then the details.
std::string outline(const qv_node* node, const std::string& indent = "") {
  std::string text = indent + label(node) + " <" + type(node) + "> " + summary(node) + "\n";
  for (const std::string& line : details(node)) text += indent + "  - " + line + "\n";
  for (const qv_node* below : children(node)) text += outline(below, indent + "  ");
  return text;
}

class DictTree : public ::testing::Test {
 protected:
  const qv_node* open(const HTuple& dict) {
    save_dict(dict, folder / "d.hdict");
    const qv_node* root = reader.dict(folder / "d.hdict");
    EXPECT_TRUE(root) << reader.error();
    return root;
  }

  TempDir folder;
  Reader reader;
};

TEST_F(DictTree, ValuesAndTheirTexts) {
  const struct {
    HTuple tuple;
    const char *type, *summary;
    const char* full = nullptr;  // as the summary
  } cases[] = {
      {HTuple(), "tuple[0]", "[]"},
      {42, "integer", "42"},
      {HTuple(HalconCpp::Hlong{INT64_MIN}), "integer", "-9223372036854775808"},
      {3.0, "real", "3"},
      {0.1, "real", "0.1"},
      {2.0 / 3, "real", "0.666667"},
      {1e-7, "real", "1e-07"},
      {1234567.0, "real", "1.23457e+06"},
      {INFINITY, "real", "inf"},
      {-INFINITY, "real", "-inf"},
      {NAN, "real", "nan"},
      {std::copysign(NAN, -1.0), "real", "-nan"},
      {"abc", "string", "'abc'"},
      {"it's", "string", "'it's'"},
      {"", "string", "''"},
      {"Größe 😀", "string", "'Größe 😀'"},
      {tuple({1, "a"}), "tuple[2]", "[1, 'a']"},
      {tuple({1, "a", 2.5}), "tuple[3]", "[1, 'a', 2.5]"},
      {sequence(4), "integer[4]", "[0, 1, 2, 3]"},
      {sequence(5), "integer[5]", "[0, 1, 2, 3, ...]", "[0, 1, 2, 3, 4]"},
      {tuple({"a", "b"}), "string[2]", "['a', 'b']"},
      {tuple({1.5, 1.5, 2}), "tuple[3]", "[1.5, 1.5, 2]"},
  };
  const HTuple dict = new_dict();
  int key = 0;
  for (const auto& row : cases) SetDictTuple(dict, key++, row.tuple);
  const qv_node* root = open(dict);
  key = 0;
  for (const auto& row : cases) {
    const qv_node* node = qv_node_child_at(root, key);
    SCOPED_TRACE(row.summary);
    EXPECT_EQ(label(node), std::to_string(key++));
    EXPECT_EQ(qv_node_kind(node), static_cast<uint32_t>(QV_NODE_VALUE));
    EXPECT_EQ(type(node), row.type);
    EXPECT_EQ(summary(node), row.summary);
    EXPECT_EQ(reader.full(node), row.full ? row.full : row.summary);
    EXPECT_EQ(qv_node_total_count(node), row.tuple.Length());
    EXPECT_EQ(qv_node_value_count(node), row.tuple.Length());
    EXPECT_EQ(qv_node_truncated(node), 0);
  }
  const qv_node* mixed = child(root, "17");
  EXPECT_EQ(qv_node_value_int_at(mixed, 0), 1);
  EXPECT_EQ(narrow(qv_node_value_string_at(mixed, 0)), "");
  EXPECT_EQ(narrow(qv_node_value_string_at(mixed, 1)), "a");
  EXPECT_EQ(qv_node_value_type_at(mixed, 2), static_cast<uint32_t>(QV_VALUE_REAL));
  EXPECT_EQ(qv_node_value_real_at(mixed, 2), 2.5);
  EXPECT_EQ(qv_node_value_int_at(mixed, 2), 0);
}

TEST_F(DictTree, LongTuplesKeepAThousandValues) {
  const qv_node* root = open(new_dict({{"1000", sequence(1000)}, {"1001", sequence(1001)}}));
  EXPECT_EQ(qv_node_truncated(child(root, "1000")), 0);
  const qv_node* node = child(root, "1001");
  EXPECT_EQ(qv_node_truncated(node), 1);
  EXPECT_EQ(qv_node_value_count(node), 1000);
  EXPECT_EQ(qv_node_total_count(node), 1001u);
  EXPECT_EQ(reader.full(node).substr(reader.full(node).size() - 6), " 1000]");
}

TEST_F(DictTree, RealsShowTheirSixDigitsExactly) {
  HTuple reals;
  std::string expected;
  std::mt19937_64 random(1);
  const auto add = [&](double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%s%.6g", expected.empty() ? "[" : ", ", value);
    expected += text;
    reals.Append(value);
  };
  for (const double value : {0.0, -0.0, 1e-3, 9.99999e-4, 999998.5, 999999.0, 999999.5, 1e6, 99999.95, 0.5, 1e300})
    add(value);
  for (int i = 0; i < 20000; ++i) {
    const double scale = std::pow(10.0, static_cast<int>(random() % 12) - 9);
    const double middle = (static_cast<double>(100000 + random() % 900000) + 0.5) * scale;  // between two results
    add(std::nextafter(middle, i % 2 ? 0.0 : 1e9));
    add(middle);
    add(-static_cast<double>(random() >> 11) * 0x1p-33 * scale);
  }
  HTuple dict = new_dict();
  SetDictTuple(dict, "reals", reals);
  EXPECT_EQ(reader.full(qv_node_child_at(open(dict), 0)), expected + "]");
}

TEST_F(DictTree, IntegersShowAllTheirDigits) {
  HTuple integers;
  std::string expected;
  for (int shift = 0; shift < 64; ++shift)
    for (const std::int64_t value :
         {INT64_MAX >> shift, INT64_MIN >> shift, std::int64_t{1000000000000000000} >> shift})
      integers.Append(value);
  for (std::int64_t power = 10; power < INT64_MAX / 10; power *= 10)
    for (const std::int64_t value : {power - 1, power, -power}) integers.Append(value);
  for (std::int64_t i = 0; i < integers.Length(); ++i)
    expected += (i == 0 ? "[" : ", ") + std::to_string(integers[i].L());
  EXPECT_EQ(reader.full(qv_node_child_at(open(new_dict({{"integers", integers}})), 0)), expected + "]");
}

// The first elements do not tell how much memory all of them need.
TEST_F(DictTree, LongStringsBeforeManyShortOnesKeepTheirText) {
  const std::string first(50000, 'x');
  HTuple strings;
  for (int i = 0; i < 1000; ++i) strings.Append(HTuple(first.c_str()));
  for (int i = 0; i < 1000000; ++i) strings.Append("z");
  const qv_node* node = qv_node_child_at(open(new_dict({{"strings", strings}})), 0);
  const std::u16string_view text(reinterpret_cast<const char16_t*>(qv_node_full_value_text(reader, node)));
  EXPECT_EQ(text.size(), 1000 * 50004 + 1000000 * 5);
  EXPECT_TRUE(text.ends_with(u", 'z']"));
}

TEST_F(DictTree, TheQuestionThatOnlySavesTimeMayFail) {
  const HTuple inner = new_dict({{"x", 1}});
  const HTuple dict = new_dict({{"sub", inner}, {"two", tuple({inner, inner})}, {"numbers", tuple({1, 2})}});
  const std::string good = outline(open(dict));
  const Failing failing("TupleSemType", 9);
  EXPECT_EQ(outline(open(dict)), good);
  EXPECT_TRUE(failing.met);
}

TEST_F(DictTree, KeysKeepTheirOrderAndText) {
  const HTuple dict = new_dict();
  const HTuple keys[] = {"z", 5, -3, 2.5, "a", "Schlüssel", "", 1234567.5, HTuple(HalconCpp::Hlong{INT64_MIN})};
  for (const HTuple& key : keys) SetDictTuple(dict, key, 1);
  SetDictTuple(dict, 5, 2);  // replaced in place
  const auto labels = [](const qv_node* root) {
    std::string all;
    for (const qv_node* node : children(root)) all += label(node) + "|";
    return all;
  };
  HalconCpp::WriteDlModel(new_dl_model(dict), (folder / "keys.hdl").c_str());
  const std::string expected = "z|5|-3|2.5|a|Schlüssel||1.23457e+06|-9223372036854775808|";
  EXPECT_EQ(labels(reader.parse(FileKind::DlModel, folder / "keys.hdl")), expected);
  const qv_node* root = open(dict);
  EXPECT_EQ(labels(root), expected);
  EXPECT_EQ(summary(root), "9 keys");
  EXPECT_EQ(type(root), "dict");
  EXPECT_EQ(summary(child(root, "5")), "2");
}

// More labels than any cache of texts has room for, each in several dictionaries.
TEST_F(DictTree, EachEntryHasItsOwnLabel) {
  std::string json = "{";
  for (int i = 0; i < 6000; ++i) {
    const std::string number = std::to_string(i);
    json += (i == 0 ? "\"" : ", \"") + number + "\": {\"key" + std::to_string(i / 3) + "\": " + number + "}";
  }
  write(folder / "d.json", json + "}");
  const qv_node* root = reader.dict(folder / "d.json");
  ASSERT_EQ(qv_node_child_count(root), 6000) << reader.error();
  int wrong = 0;
  for (int i = 0; i < 6000; ++i) {
    const qv_node* outer = qv_node_child_at(root, i);
    const qv_node* inner = qv_node_child_at(outer, 0);
    wrong += label(outer) != std::to_string(i) || label(inner) != "key" + std::to_string(i / 3) ||
             summary(inner) != std::to_string(i);
  }
  EXPECT_EQ(wrong, 0);
}

TEST_F(DictTree, HandlesNestAndStandInArrays) {
  HTuple sphere, points, no_points;
  HalconCpp::GenSphereObjectModel3d(1, 2, 3, 0.5, &sphere);
  HalconCpp::GenObjectModel3dFromPoints(tuple({-1.0, 1.0}), tuple({-1.0, 2.0}), tuple({1.0, 3.0}), &points);
  HalconCpp::GenObjectModel3dFromPoints(HTuple(), HTuple(), HTuple(), &no_points);
  const HTuple inner = new_dict({{"x", 1}}), five = new_matrix(1, 1, 5);
  const HTuple odd = tuple({INFINITY, -INFINITY, NAN, 1234567.0, 123456.7, 1e20});
  const qv_node* root = open(new_dict({{"dict", inner},
                                       {"array", tuple({inner, 7, "s", new_dict()})},
                                       {"handle last", tuple({7, "s", 2.5, inner})},
                                       {"model", new_dl_model(inner)},
                                       {"odd matrix", new_matrix(1, 6, odd)},
                                       {"matrix", new_matrix(2, 2, tuple({1, 2.5, -3, 1e-7}))},
                                       {"no columns", new_matrix(2, 0, HTuple())},
                                       {"matrices", tuple({five, five})},
                                       {"points", points},
                                       {"no points", no_points},
                                       {"sphere", sphere}}));
  EXPECT_EQ(outline(root), R"( <dict> 11 keys
  dict <dict> 1 key
    x <integer> 1
  array <array> 4 entries
    [0] <dict> 1 key
      x <integer> 1
    [1] <tuple[1]> 7
    [2] <tuple[1]> 's'
    [3] <dict> 0 keys
  handle last <array> 4 entries
    [0] <tuple[1]> 7
    [1] <tuple[1]> 's'
    [2] <tuple[1]> 2.5
    [3] <dict> 1 key
      x <integer> 1
  model <array> 1 entry
    [0] <<unsupported handle>> 
  odd matrix <matrix> 6x1
    - [ inf  -inf  nan  1.23457e+06  123457.0  1e+20 ]
  matrix <matrix> 2x2
    - [ 1.0  2.5 ]
    - [ -3.0  1e-07 ]
  no columns <matrix> 0x2
    - [  ]
    - [  ]
  matrices <array> 2 entries
    [0] <<unsupported handle>> 
    [1] <<unsupported handle>> 
  points <object_model_3d> points: 2
    - object_model_3d: points: 2, center: [0.0, 0.5, 2.0], diameter: 4.12310562561766, bounding box: [-1.0, -1.0, 1.0, 1.0, 2.0, 3.0], primitive type: none
  no points <object_model_3d> points: 0
    - object_model_3d: points: 0, primitive type: none
  sphere <object_model_3d> points: 0
    - object_model_3d: points: 0, center: [1.0, 2.0, 3.0], diameter: 1.73205080756888, bounding box: [0.5, 1.5, 2.5, 1.5, 2.5, 3.5], primitive type: sphere
)");
  const qv_node *array = child(root, "array"), *m = child(root, "matrix");
  EXPECT_EQ(qv_node_path_index(child(array, "[3]")), 3u);
  EXPECT_EQ(qv_node_path_segment_kind(child(array, "[3]")), static_cast<uint32_t>(QV_PATH_INDEX));
  EXPECT_EQ(reader.full(child(array, "[2]")), "'s'");
  EXPECT_EQ(qv_node_detail_entry_count(m), 1u);
  // Handles shown as a whole have nothing to draw or to save, and say so.
  for (const qv_node* node : {m, child(root, "points"), child(child(root, "matrices"), "[0]")}) {
    EXPECT_EQ(qv_node_object_count(node), 1u);
    EXPECT_NE(extract_everything(reader, node, 0).find("runs=0 'SelectObj"), std::string::npos);
    EXPECT_FALSE(reader.save(node, folder / "none.hobj"));
    EXPECT_NE(reader.error(), "");
  }
}

TEST_F(DictTree, OddEntriesBecomeNodesOfTheirOwn) {
  save_dict(new_dict({{"a", 1}, {"b", 1}, {"c", 1}}), folder / "d.hdict");
  {
    const Answering odd_type("GetDictParam", tuple({"Object", "b", "c"}));  // for the keys, and the type of each
    const qv_node* node = qv_node_child_at(reader.dict(folder / "d.hdict"), 1);
    EXPECT_EQ(label(node) + type(node) + summary(node), "b<unsupported>Object");
    EXPECT_EQ(reader.full(node), "[]");
  }
  const Failing failing("GetDictTuple", 1, 2);
  const qv_node* root = reader.dict(folder / "d.hdict");
  ASSERT_EQ(qv_node_child_count(root), 3);
  EXPECT_EQ(type(child(root, "b")) + summary(child(root, "b")), "<error>made to fail");
  EXPECT_EQ(qv_node_kind(child(root, "b")), static_cast<uint32_t>(QV_NODE_VALUE));
  EXPECT_EQ(summary(child(root, "c")), "1");
}

// Of what a builder had filled in before it failed nothing stays: the node is that of an entry that cannot be read.
TEST_F(DictTree, EntriesThatFailLateAreCleanErrors) {
  const HTuple dict = new_dict({{"values", tuple({0.5, 1.5})}});
  HalconCpp::SetDictObject(concat({rectangle(0, 0, 1, 1), rectangle(0, 0, 2, 2)}), dict, "objects");
  save_dict(dict, folder / "d.hdict");
  const struct {
    const char *entry, *reading, *filling;
  } cases[] = {{"values", "GetDictTuple", "HTupleElement::D"}, {"objects", "GetDictObject", "AreaCenter"}};
  for (const auto& test : cases) {
    const auto failed = [&](const char* operation, int call) {
      const Failing failing(operation, 1, call);
      const qv_node* node = child(reader.dict(folder / "d.hdict"), test.entry);
      EXPECT_TRUE(failing.met) << operation;
      return dump(node) + reader.full(node);
    };
    EXPECT_EQ(failed(test.filling, 2), failed(test.reading, 1));
  }
}

// An unreadable key loses its label, and a handle of unknown type its type label. What they hold is shown all the same.
TEST_F(DictTree, UnknownTypesOfKeysAndHandles) {
  const HTuple dict = new_dict();
  for (const HTuple& key : {HTuple(5), HTuple("s"), HTuple(2.5)}) HalconCpp::SetDictObject(ramp(2, 2), dict, key);
  save_dict(dict, folder / "d.hdict");
  HalconCpp::WriteDlModel(new_dl_model(dict), (folder / "m.hdl").c_str());
  HTuple chain = new_matrix(1, 1, 5);
  for (int depth = 33; depth > 0; --depth) chain = new_dict({{"next", chain}});
  HalconCpp::WriteDlModel(new_dl_model(chain), (folder / "chain.hdl").c_str());
  const std::string picture = "  <unreadable key> <image> 2x2, 1ch, byte\n";
  {
    const Failing failing(type_questions);
    EXPECT_EQ(outline(reader.dict(folder / "d.hdict")), " <dict> 3 keys\n" + picture + picture + picture);
    EXPECT_EQ(outline(reader.parse(FileKind::DlModel, folder / "m.hdl")),
              " <handle> 3 keys\n" + picture + picture + picture);
    const Failing no_keys({"TupleSemType", "GetHandleParam"});
    const qv_node* root = reader.parse(FileKind::DlModel, folder / "m.hdl");
    EXPECT_EQ(outline(root) + narrow(qv_node_object_class(root)), " <handle> \nhandle");
  }
  const Failing failing("TupleSemType");
  const qv_node* node = reader.parse(FileKind::DlModel, folder / "chain.hdl");
  while (qv_node_child_count(node) > 0) node = qv_node_child_at(node, 0);
  EXPECT_EQ(outline(node) + narrow(qv_node_object_class(node)), "next <handle> max nesting depth reached\nhandle");
}

TEST_F(DictTree, HandlesOpenDownToTheirLimit) {
  HTuple chain = new_dict();
  for (int depth = 33; depth > 0; --depth) chain = new_dict({{"next", chain}});
  HalconCpp::WriteDlModel(new_dl_model(chain), (folder / "chain.hdl").c_str());
  const qv_node* node = reader.parse(FileKind::DlModel, folder / "chain.hdl");
  ASSERT_TRUE(node) << reader.error();
  EXPECT_EQ(type(node), "dl_model");
  for (int depth = 0; depth < 32; ++depth) {
    ASSERT_EQ(summary(node), "1 key");
    node = qv_node_child_at(node, 0);
  }
  EXPECT_EQ(type(node), "dict");
  const qv_node* stop = qv_node_child_at(node, 0);
  EXPECT_EQ(summary(stop), "max nesting depth reached");
  EXPECT_EQ(narrow(qv_node_object_class(stop)) + type(stop), "dictdict");
  EXPECT_EQ(qv_node_kind(stop), static_cast<uint32_t>(QV_NODE_OBJECT));
}

TEST_F(DictTree, UnderHandlesEntriesThatFailAreLeftOut) {
  const HTuple five = new_matrix(1, 1, 5), dict = new_dict({{"a", 1}, {"matrix", five}, {"two", tuple({five, five})}});
  HalconCpp::SetDictObject(ramp(2, 2), dict, "picture");
  HalconCpp::WriteDlModel(new_dl_model(dict), (folder / "m.hdl").c_str());
  const auto open_model = [&] { return reader.parse(FileKind::DlModel, folder / "m.hdl"); };
  const qv_node* root = open_model();
  ASSERT_TRUE(root) << reader.error();
  EXPECT_EQ(summary(root), "4 keys");
  const qv_node* m = child(root, "matrix");  // a handle without keys, shown as a whole
  EXPECT_EQ(type(m) + "|" + summary(m) + "|" + narrow(qv_node_object_class(m)), "matrix||matrix");
  EXPECT_EQ(type(child(child(root, "two"), "[0]")), "<unsupported handle>");
  EXPECT_EQ(summary(child(root, "picture")), "2x2, 1ch, byte");
  const Failing failing("GetHandleTuple", 1);
  root = open_model();
  EXPECT_EQ(summary(root), "4 keys");
  EXPECT_EQ(qv_node_child_count(root), 3);
  EXPECT_EQ(child(root, "a"), nullptr);
}

TEST_F(DictTree, ReadingOptionsReachTheReader) {
  write(folder / "o.json", R"({"t": true, "f": false, "n": null, "a": [1, 2]})");
  const std::u16string file = wide(folder / "o.json"), yes = u"yes", dict = u"dict";
  const auto open = [&](const qv_parse_option* options, int32_t count) {
    return qv_reader_parse_file_with_options(reader, units(file), options, count);
  };
  const auto texts = [&](const qv_node* root) {
    std::string all;
    for (const qv_node* node : children(root)) all += summary(node) + " ";
    return root ? all : reader.error();
  };
  const qv_parse_option all[] = {{QV_JSON_VALUE_TRUE, QV_VALUE_STRING, units(yes), 0, 0},
                                 {QV_JSON_VALUE_FALSE, QV_VALUE_INTEGER, nullptr, 0, 0},
                                 {QV_JSON_VALUE_NULL, QV_VALUE_REAL, nullptr, 0, 0.5},
                                 {QV_CONVERT_JSON_ARRAYS_TO, QV_VALUE_STRING, units(dict), 0, 0}};
  EXPECT_EQ(texts(open(all, 4)), "'yes' 0 0.5 2 keys ");
  EXPECT_EQ(texts(open(all, 0)), "'true' 'false' 'null' [1, 2] ");
  EXPECT_EQ(texts(open(nullptr, 5)), "'true' 'false' 'null' [1, 2] ");
  for (const int32_t count : {-1, INT32_MIN}) EXPECT_EQ(texts(open(all, count)), "'true' 'false' 'null' [1, 2] ");
  // Only the field that the type selects is read, whole, whatever the others are.
  const auto* const nowhere = reinterpret_cast<const qv_char*>(uintptr_t{1});
  const qv_parse_option crowded[] = {{QV_JSON_VALUE_TRUE, QV_VALUE_STRING, units(yes), 7, 7.5},
                                     {QV_JSON_VALUE_FALSE, QV_VALUE_INTEGER, nowhere, -5000000007, 7.5},
                                     {QV_JSON_VALUE_NULL, QV_VALUE_REAL, nowhere, 7, 1e300}};
  EXPECT_EQ(texts(open(crowded, 3)), "'yes' -5000000007 1e+300 [1, 2] ");
  const qv_parse_option empty_string[] = {{QV_JSON_VALUE_NULL, QV_VALUE_STRING, nullptr, 0, 0}};
  EXPECT_EQ(texts(open(empty_string, 1)), "'true' 'false' '' [1, 2] ");
  const qv_parse_option rejected[] = {{7, QV_VALUE_INTEGER, nullptr, 1, 0}, {QV_JSON_VALUE_TRUE, 3, nullptr, 1, 0}};
  for (const qv_parse_option& option : rejected) {
    EXPECT_EQ(open(&option, 1), nullptr);
    EXPECT_NE(reader.error(), "");
  }
}

}  // namespace
