// JSON documents read as dictionaries and written from them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "support/files.h"
#include "support/objects.h"
#include "support/values.h"

namespace {

using namespace test;
using HalconCpp::HDict;
using HalconCpp::HException;
using testing::HasSubstr;

class Json : public testing::Test {
 protected:
  HTuple read(std::string_view text, const HTuple& names = HTuple(), const HTuple& values = HTuple()) {
    write(folder / "in.json", text);
    HDict dict;
    dict.ReadDict((folder / "in.json").c_str(), names, values);
    return HTuple(dict);
  }

  std::string written(const HTuple& dict, const HTuple& names = HTuple(), const HTuple& values = HTuple()) {
    HDict(dict[0].H()).WriteDict((folder / "out.json").c_str(), names, values);
    return test::read(folder / "out.json");
  }

  // The result of reading: the tree, or the message after the file name.
  std::string outcome(std::string_view text, const HTuple& names = HTuple(), const HTuple& values = HTuple()) {
    std::string tree;
    const std::string message = failure([&] { tree = shown(read(text, names, values)); });
    const auto name = message.find("in.json': ");
    return tree + (name == std::string::npos ? message : message.substr(name + 10));
  }

  TempDir folder;
};

TEST_F(Json, ReadsEveryKindOfContent) {
  const std::tuple<std::string, std::string> rows[] = {
      {"{}", "{}"},
      {" \r\n\t{ } ", "{}"},
      {"\xEF\xBB\xBF{\"a\":1}", "{'a':1}"},
      {R"({"b":1,"a":-2,"":3})", "{'b':1,'a':-2,'':3}"},
      {R"({"a":1,"b":{"a":2,"c":3},"a":4,"b":5,"":6,"":7})", "{'a':4,'b':5,'':7}"},
      {R"([{"a":1,"b":2},{"a":3,"b":4},{"a":5,"b":6,"a":7}])", "{0:{'a':1,'b':2},1:{'a':3,'b':4},2:{'a':7,'b':6}}"},
      {R"({"a":{"b":1,"a":{"a":2}},"c":[{"a":3,"a":4}]})", "{'a':{'b':1,'a':{'a':2}},'c':{'a':4}}"},
      {"[]", "{}"},
      {"[1,[2,3],[],\"x\"]", "{0:1,1:(2,3),2:(),3:'x'}"},
      {R"({"i":[1,2],"r":[0.5,2.0],"s":["x","y"],"m":[1,"x",2.5,{}],"e":[],"o":[7]})",
       "{'i':(1,2),'r':(0.5,2.),'s':('x','y'),'m':(1,'x',2.5,{}),'e':(),'o':7}"},
      {R"({"a":[[1],[[2]],[{}]]})", "{'a':{0:1,1:{0:2},2:{}}}"},
      {R"({"w":[true,false,null]})", "{'w':('true','false','null')}"},
      {"[9223372036854775807,-9223372036854775808,-0]", "{0:9223372036854775807,1:-9223372036854775808,2:0}"},
      {"[9223372036854775808,-9223372036854775809]", "{0:9223372036854775808.,1:-9223372036854775808.}"},
      {"[123456789012345678901234567890,1e0,-0.0]", "{0:1.2345678901234568e+29,1:1.,2:-0.}"},
      {"[1" + std::string(300, '0') + ",0." + std::string(400, '0') + "1,-1e-400,1e-999999999999]",
       "{0:1e+300,1:0.,2:-0.,3:0.}"},
      {"[2.2250738585072011e-308,1.7976931348623157e308]", "{0:2.225073858507201e-308,1:1.7976931348623157e+308}"},
      {R"(["\u0041\n\"\/\ud83d\ude00","a\u0000b","\u0000"])",
       "{0:'A\n\"/\xF0\x9F\x98\x80',1:'a\xEF\xBF\xBD"
       "b',2:'\xEF\xBF\xBD'}"},
  };
  for (const auto& [text, tree] : rows) EXPECT_EQ(outcome(text), tree) << text;
}

// More different keys than are kept in mind, then keys that come again.
TEST_F(Json, ReadsAnyNumberOfKeys) {
  constexpr Hlong count = 150000;
  std::string text = "{";
  for (Hlong i = 0; i < count; ++i)
    text += "\"key " + std::to_string(i) + "\":{\"n\":" + std::to_string(i) + ",\"m\":0},";
  const HTuple dict = read(text + "\"key 7\":1,\"key 140000\":{\"new\":2,\"new\":3},\"key 149999\":4}");
  const HDict entries(dict[0].H());
  const HTuple keys = entries.GetDictParam("keys", HTuple());
  ASSERT_EQ(keys.Length(), count);
  for (Hlong i = 0; i < count; ++i) ASSERT_EQ(keys[i].S().Text(), "key " + std::to_string(i));
  EXPECT_EQ(shown(entries.GetDictTuple("key 7")), "1");
  EXPECT_EQ(shown(entries.GetDictTuple("key 140000")), "{'new':3}");
  EXPECT_EQ(shown(entries.GetDictTuple("key 149999")), "4");
  EXPECT_EQ(shown(entries.GetDictTuple("key 149998")), "{'n':149998,'m':0}");
}

TEST_F(Json, KeepsTextsOfEveryLengthBeyondTheirDocument) {
  HTuple kept[2];
  {
    std::string text = "{\"few\":[\"" + std::string(255, 'b') + "\",\"c\"],\"all\":[\"\"";
    for (std::size_t length = 1; length < 600; ++length) text += ",\"" + std::string(length, 'a') + "\"";
    const HDict dict(read(text + "]}")[0].H());
    kept[0] = dict.GetDictTuple("few");
    kept[1] = dict.GetDictTuple("all");
  }
  kept[0].Append("more");
  EXPECT_EQ(shown(kept[0]), "('" + std::string(255, 'b') + "','c','more')");
  ASSERT_EQ(kept[1].Length(), 600);
  for (Hlong i = 0; i < 600; ++i) EXPECT_EQ(kept[1][i].S().Text(), std::string(static_cast<std::size_t>(i), 'a'));
}

TEST_F(Json, TakesReadingOptions) {
  const std::string text = R"({"t":true,"f":[false,1],"n":null,"a":[[],[2]]})";
  const HTuple words = tuple({"json_value_true", "json_value_false", "json_value_null"});
  const std::tuple<HTuple, HTuple, std::string> rows[] = {
      {HTuple(), HTuple(), "{'t':'true','f':('false',1),'n':'null','a':{0:(),1:2}}"},
      {words, tuple({1, 0, "none"}), "{'t':1,'f':(0,1),'n':'none','a':{0:(),1:2}}"},
      {words, tuple({"", 0.5, -1}), "{'t':'','f':(0.5,1),'n':-1,'a':{0:(),1:2}}"},
      {"convert_json_arrays_to", "tuple", "{'t':'true','f':('false',1),'n':'null','a':{0:(),1:2}}"},
      {"convert_json_arrays_to", "dict", "{'t':'true','f':{0:'false',1:1},'n':'null','a':{0:{},1:{0:2}}}"},
      {"convert_json_arrays_to", "list", "ReadDict: the option 'convert_json_arrays_to' takes 'dict' or 'tuple'"},
      {"json_value", 1,
       "ReadDict: unknown option 'json_value'; accepted are 'json_value_true', 'json_value_false', 'json_value_null' "
       "and 'convert_json_arrays_to'"},
      {words, 1, "ReadDict: 3 option names, but 1 values"},
      {1, 1, "ReadDict: the name of an option must be one string"},
  };
  for (const auto& [names, values, expected] : rows) EXPECT_EQ(outcome(text, names, values), expected);
}

TEST_F(Json, RejectsWithLineAndColumn) {
  const std::pair<std::string, std::string> rows[] = {
      {" \n ", "line 2, column 2: the document is empty"},
      {"\"x\"", "line 1, column 4: the document is a single value"},
      {" 12", "line 1, column 2: the document is a single value"},
      {"]", "line 1, column 1: the document begins with neither"},
      {"{\"a\": [1,\n", "line 2, column 1: the document ends too early"},
      {"{\n \"\xC3\xA4\\n\": 1,\n \"\xC3\xB6\": tru}", "line 3, column 10: "},
      {"[1] x", "line 1, column 5: "},
      {std::string("{}\0{}", 5), "line 1, column 3: a control character (code 0)"},
      {"[\"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa\x1F\"]", "column 44: a control character (code 31)"},
      {"[17976931348623159e292]", "line 1, column 2: the number is too large for a real"},
      {"[\"\xFF\"]", "line 1, column 3: invalid UTF-8"},
      {"[\"\xED\xA0\x80\"]", "line 1, column 3: invalid UTF-8"},
      {R"(["\udc00"])", "one half of a surrogate pair"},
      {R"({"\ud800":1})", "surrogate"},
      {"\xFF\xFE{\0}\0", "is JSON in UTF-16"},
      {std::string(100000, '['), "line 1, column 1025: nested deeper than 1024 levels"},
  };
  for (const auto& [text, message] : rows) EXPECT_THAT(outcome(text), HasSubstr(message)) << text.substr(0, 50);
  const std::pair<std::string, int> columns[] = {
      {"[01]", 3}, {"[+1]", 2},      {"[.5]", 2},    {"[NaN]", 2},
      {"[1,]", 4}, {"{\"a\" 1}", 6}, {"[1e400]", 2}, {"[" + std::string(400, '9') + "]", 2}};
  for (const auto& [text, column] : columns)
    EXPECT_THAT(outcome(text), HasSubstr("line 1, column " + std::to_string(column) + ": ")) << text;
  EXPECT_EQ(outcome(std::string(1024, '[') + std::string(1024, ']')).size(), 1024 * 4 - 4 + 2);
  HDict dict(read(R"({"kept":1})")[0].H());
  EXPECT_THROW(dict.ReadDict((folder / "none.json").c_str(), HTuple(), HTuple()), HException);
  EXPECT_EQ(shown(HTuple(dict)), "{'kept':1}");
}

TEST_F(Json, WritesReadableText) {
  const HTuple dict = read(R"({"i":-5,"r":1.0,"s":"a\"\\\n\u0001\u00e9","t":[1,2.5,"x"],"e":[],"d":{"k":{}},)"
                           R"("a":[[1],[2,3]],"h":[{"b":1},7]})");
  EXPECT_EQ(written(dict), R"({
  "i": -5,
  "r": 1.0,
  "s": "a\"\\\u000a\u0001é",
  "t": [1, 2.5, "x"],
  "e": [],
  "d": {
    "k": {}
  },
  "a": [
    [1],
    [2, 3]
  ],
  "h": [
    {
      "b": 1
    },
    7
  ]
}
)");
}

TEST_F(Json, KeepsTrueFalseAndNull) {
  const std::string document = R"({
  "words": [true, false, null, "true", 1],
  "one": null,
  "text": "null"
}
)";
  const HTuple dict = read(document);
  EXPECT_EQ(shown(dict), "{'words':('true','false','null','true',1),'one':'null','text':'null'}");
  EXPECT_EQ(written(dict), document);
  EXPECT_EQ(written(read("{\"a\":true}", "json_value_true", "true")), "{\n  \"a\": \"true\"\n}\n");
}

TEST_F(Json, WrittenDocumentsReadBackEqual) {
  const char* const documents[] = {"{}",
                                   "[]",
                                   "[1]",
                                   "[[1]]",
                                   "[[[1]]]",
                                   "[[]]",
                                   "[[[]]]",
                                   "[{}]",
                                   "[[{}]]",
                                   "[[[{}]],{}]",
                                   "[1,[2],[[3]],\"x\"]",
                                   R"({"a":[{}]})",
                                   R"({"a":[[1]]})",
                                   R"({"a":[[]]})",
                                   R"({"a":[[1],{},[{"b":[[[2]]]}],"x"]})",
                                   R"({"a":[{},{"b":1}]})",
                                   R"([[{"a":[1.0,-0.0,1e22,5e-324,1.7976931348623157e308,0.1]},true],[null]])",
                                   R"({"":"","\u0000":[""]})",
                                   "[9223372036854775807,-9223372036854775808,9223372036854775808]"};
  for (const char* const document : documents)
    for (const char* const arrays : {"tuple", "dict"}) {
      SCOPED_TRACE(document);
      const HTuple dict = read(document, "convert_json_arrays_to", arrays);
      EXPECT_EQ(shown(read(written(dict))), shown(dict));
    }
}

TEST_F(Json, LeavesOutWhatItCannotHoldOnlyWhenAsked) {
  const HTuple matrix = new_matrix(1, 1, 0);
  const HTuple list = new_dict({{0, 0}, {1, std::nan("")}, {2, 2}});
  const HTuple dict = new_dict({{7, "seven"}, {"7", "left out: it would take the other's place"}, {"list", list}});
  const HTuple option = "raise_error_if_content_not_serializable";
  const std::tuple<const char*, HTuple, const char*> rows[] = {
      {"nan", tuple({1, std::nan("")}), "the key 'nan' holds a number that is not finite"},
      {"inf", -std::numeric_limits<double>::infinity(), "the key 'inf' holds a number"},
      {"matrix", tuple({"x", matrix}), "the key 'matrix' holds a handle of type 'matrix'"},
      {"empty", HHandle(), "the key 'empty' holds an empty handle"},
      {"list", list, "the key 1 holds a number"},
  };
  write(folder / "out.json", "old");
  const auto expect_error = [&](const HTuple& one, const char* reason) {
    EXPECT_THAT(failure([&] { written(one, option, "true"); }), HasSubstr(reason));
  };
  for (const auto& [key, value, reason] : rows) {
    expect_error(new_dict({{key, value}}), reason);
    HalconCpp::SetDictTuple(dict, key, value);
  }
  const HTuple picture = new_dict();
  for (const HTuple& holder : {picture, dict}) HalconCpp::SetDictObject(ramp(1, 1), holder, "object");
  expect_error(picture, "the key 'object' holds an iconic object");
  expect_error(new_dict({{5, 0}, {"5", 0}}), "the key '5' is there as a number and as a text");
  EXPECT_EQ(test::read(folder / "out.json"), "old");
  EXPECT_EQ(shown(read(written(dict, option, "false"))), "{'7':'seven','list':{'0':0,'2':2}}");
  EXPECT_THROW(written(dict, option, "no"), HException);
  EXPECT_THROW(written(dict, "lenient", "false"), HException);
}

TEST_F(Json, RejectsADictionaryThatHoldsItself) {
  const HTuple dict = new_dict();
  HalconCpp::SetDictTuple(dict, "self", dict);
  EXPECT_THROW(written(dict), HException);
  HalconCpp::SetDictTuple(dict, "self", HTuple());
}

TEST_F(Json, IsFoundByContentAndOtherFilesAreNamed) {
  const struct {
    const char *name, *content, *outcome;
  } rows[] = {
      {"a.txt", " \n[1]", "{0:1}"},
      {"a.hdict", "\xEF\xBB\xBF{}", "{}"},
      {"b.txt", "just words", "b.txt': "},
      {"b.hdict", "just words", "installed HALCON"},
  };
  for (const auto& row : rows) {
    write(folder / row.name, row.content);
    std::string tree;
    const std::string reason = failure([&] { tree = shown(read_dict(folder / row.name)); });
    EXPECT_THAT(tree + reason, HasSubstr(row.outcome));
  }
}

}  // namespace
