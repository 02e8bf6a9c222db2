// JSON documents read as dictionaries and written from them.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <string>

#include "HalconCreate.h"
#include "support/files.h"
#include "support/objects.h"

namespace {

using HalconCpp::HDict;
using HalconCpp::HException;
using HalconCpp::Hlong;
using HalconCpp::HTuple;
using testing::HasSubstr;

class Json : public testing::Test {
 protected:
  // Whole trees as text: dictionaries {key:value,...}, tuples (a,b), strings 'x', reals with a point or an exponent.
  static std::string show(const HTuple& value) {
    std::string text;
    for (Hlong i = 0; i < value.Length(); ++i) text += (i > 0 ? "," : "") + show_element(value, i);
    return value.Length() == 1 ? text : "(" + text + ")";
  }

  static std::string show(const HDict& dict) {
    const HTuple keys = dict.GetDictParam("keys", HTuple());
    std::string text;
    for (Hlong i = 0; i < keys.Length(); ++i)
      text += (i > 0 ? "," : "") + show_element(keys, i) + ":" + show(dict.GetDictTuple(keys[i]));
    return "{" + text + "}";
  }

  HDict read(std::string_view text, const HTuple& names = HTuple(), const HTuple& values = HTuple()) {
    test::write(folder / "in.json", text);
    HDict dict;
    dict.ReadDict((folder / "in.json").c_str(), names, values);
    return dict;
  }

  std::string written(const HDict& dict, const HTuple& names = HTuple(), const HTuple& values = HTuple()) {
    dict.WriteDict((folder / "out.json").c_str(), names, values);
    return test::read(folder / "out.json");
  }

  // What comes of reading: the tree, or the message behind the file name.
  std::string outcome(std::string_view text, const HTuple& names = HTuple(), const HTuple& values = HTuple()) {
    try {
      return show(read(text, names, values));
    } catch (const HException& failure) {
      const std::string message = failure.ErrorMessage().Text();
      const auto name = message.find("in.json': ");
      return name == std::string::npos ? message : message.substr(name + 10);
    }
  }

  test::TempDir folder;

 private:
  static std::string show_element(const HTuple& tuple, Hlong i) {
    const HTuple element = tuple[i];
    if (element.TupleIsHandleElem()[0].L()) return show(HDict(element[0].H()));
    if (element.TupleIsStringElem()[0].L()) return "'" + std::string(element[0].S().Text()) + "'";
    if (element.TupleIsIntElem()[0].L()) return std::to_string(element[0].L());
    char digits[32];
    std::snprintf(digits, sizeof digits, "%.17g", element[0].D());
    return std::string(digits).find_first_of(".e") == std::string::npos ? std::string(digits) + "." : digits;
  }
};

TEST_F(Json, ReadsEveryKindOfContent) {
  const struct {
    std::string text, tree;
  } rows[] = {
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
      {"[9223372036854775808,-9223372036854775809]", "{0:9.2233720368547758e+18,1:-9.2233720368547758e+18}"},
      {"[123456789012345678901234567890,1e0,-0.0]", "{0:1.2345678901234568e+29,1:1.,2:-0.}"},
      {"[1" + std::string(300, '0') + ",0." + std::string(400, '0') + "1,-1e-400,1e-999999999999]",
       "{0:1.0000000000000001e+300,1:0.,2:-0.,3:0.}"},
      {"[2.2250738585072011e-308,1.7976931348623157e308]", "{0:2.2250738585072009e-308,1:1.7976931348623157e+308}"},
      {R"(["\u0041\n\"\/\ud83d\ude00","a\u0000b","\u0000"])",
       "{0:'A\n\"/\xF0\x9F\x98\x80',1:'a\xEF\xBF\xBD"
       "b',2:'\xEF\xBF\xBD'}"},
  };
  for (const auto& row : rows) EXPECT_EQ(outcome(row.text), row.tree) << row.text;
}

TEST_F(Json, TakesReadingOptions) {
  const std::string text = R"({"t":true,"f":[false,1],"n":null,"a":[[],[2]]})";
  const HTuple words = test::tuple({"json_value_true", "json_value_false", "json_value_null"});
  const struct {
    HTuple names, values;
    std::string outcome;
  } rows[] = {
      {HTuple(), HTuple(), "{'t':'true','f':('false',1),'n':'null','a':{0:(),1:2}}"},
      {words, test::tuple({1, 0, "none"}), "{'t':1,'f':(0,1),'n':'none','a':{0:(),1:2}}"},
      {words, test::tuple({"", 0.5, -1}), "{'t':'','f':(0.5,1),'n':-1,'a':{0:(),1:2}}"},
      {"convert_json_arrays_to", "tuple", "{'t':'true','f':('false',1),'n':'null','a':{0:(),1:2}}"},
      {"convert_json_arrays_to", "dict", "{'t':'true','f':{0:'false',1:1},'n':'null','a':{0:{},1:{0:2}}}"},
      {"convert_json_arrays_to", "list", "ReadDict: the option 'convert_json_arrays_to' takes 'dict' or 'tuple'"},
      {"json_value", 1,
       "ReadDict: unknown option 'json_value'; accepted are 'json_value_true', 'json_value_false', 'json_value_null' "
       "and 'convert_json_arrays_to'"},
      {words, 1, "ReadDict: 3 option names, but 1 values"},
      {1, 1, "ReadDict: the name of an option must be one string"},
  };
  for (const auto& row : rows) EXPECT_EQ(outcome(text, row.names, row.values), row.outcome);
}

TEST_F(Json, RefusesWithLineAndColumn) {
  const struct {
    std::string text, message;
  } rows[] = {
      {" \n ", "line 2, column 2: the document is empty"},
      {"\"x\"", "line 1, column 4: the document is a single value"},
      {" 12", "line 1, column 2: the document is a single value"},
      {"]", "line 1, column 1: the document begins with neither"},
      {"{\"a\": [1,\n", "line 2, column 1: the document ends too early"},
      {"{\n \"\xC3\xA4\\n\": 1,\n \"\xC3\xB6\": tru}", "line 3, column 10: "},
      {"[1] x", "line 1, column 5: "},
      {std::string("{}\0{}", 5), "line 1, column 3: a control character (code 0)"},
      {"[\"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa\x1F\"]", "column 44: a control character (code 31)"},
      {"[01]", "line 1, column 3: "},
      {"[+1]", "line 1, column 2: "},
      {"[.5]", "line 1, column 2: "},
      {"[NaN]", "line 1, column 2: "},
      {"[1,]", "line 1, column 4: "},
      {"{\"a\" 1}", "line 1, column 6: "},
      {"[1e400]", "line 1, column 2: "},
      {"[" + std::string(400, '9') + "]", "line 1, column 2: "},
      {"[17976931348623159e292]", "line 1, column 2: the number is too large for a real"},
      {"[\"\xFF\"]", "line 1, column 3: invalid UTF-8"},
      {"[\"\xED\xA0\x80\"]", "line 1, column 3: invalid UTF-8"},
      {R"(["\udc00"])", "one half of a surrogate pair"},
      {R"({"\ud800":1})", "surrogate"},
      {"\xFF\xFE{\0}\0", "is JSON in UTF-16"},
      {std::string(100000, '['), "line 1, column 1025: nested deeper than 1024 levels"},
  };
  for (const auto& row : rows) EXPECT_THAT(outcome(row.text), HasSubstr(row.message)) << row.text.substr(0, 50);
  EXPECT_EQ(outcome(std::string(1024, '[') + std::string(1024, ']')).size(), 1024 * 4 - 4 + 2);
  HDict dict = read(R"({"kept":1})");
  EXPECT_THROW(dict.ReadDict((folder / "none.json").c_str(), HTuple(), HTuple()), HException);
  EXPECT_EQ(show(dict), "{'kept':1}");
}

TEST_F(Json, WritesReadableText) {
  const HDict dict = read(R"({"i":-5,"r":1.0,"s":"a\"\\\n\u0001\u00e9","t":[1,2.5,"x"],"e":[],"d":{"k":{}},)"
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

TEST_F(Json, WrittenDocumentsReadBackEqual) {
  const char* const documents[] = {
      "{}",
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
      "[9223372036854775807,-9223372036854775808,9223372036854775808]",
  };
  for (const char* const document : documents)
    for (const char* const arrays : {"tuple", "dict"}) {
      SCOPED_TRACE(document);
      const HDict dict = read(document, "convert_json_arrays_to", arrays);
      EXPECT_EQ(show(read(written(dict))), show(dict));
    }
}

TEST_F(Json, LeavesOutWhatItCannotHoldOnlyWhenAsked) {
  HTuple dict, matrix, list;
  HalconCpp::CreateDict(&dict);
  HalconCpp::CreateDict(&list);
  HalconCpp::CreateMatrix(1, 1, 0, &matrix);
  for (int i = 0; i < 3; ++i) HalconCpp::SetDictTuple(list, i, i == 1 ? HTuple(std::nan("")) : HTuple(i));
  HalconCpp::SetDictTuple(dict, 7, "seven");
  HalconCpp::SetDictTuple(dict, "7", "left out: it would take the other's place");
  HalconCpp::SetDictTuple(dict, "list", list);
  const HDict written_dict(dict[0].H());
  const HTuple option = "raise_error_if_content_not_serializable";
  const struct {
    const char* key;
    HTuple value;
    const char* reason;
  } rows[] = {
      {"nan", test::tuple({1, std::nan("")}), "the key 'nan' holds a number that is not finite"},
      {"inf", -std::numeric_limits<double>::infinity(), "the key 'inf' holds a number"},
      {"matrix", test::tuple({"x", matrix}), "the key 'matrix' holds a handle of type 'matrix'"},
      {"empty", HalconCpp::HHandle(), "the key 'empty' holds an empty handle"},
      {"object", HTuple(), "the key 'object' holds an iconic object"},
      {"list", list, "the key 1 holds a number"},
      {"5", HTuple(), "the key '5' is there as a number and as a text"},
  };
  test::write(folder / "out.json", "old");
  for (const auto& row : rows) {
    HTuple one;
    HalconCpp::CreateDict(&one);
    if (row.key == std::string("5")) HalconCpp::SetDictTuple(one, 5, 0);
    HalconCpp::SetDictTuple(one, row.key, row.value);
    if (row.key != std::string("5")) HalconCpp::SetDictTuple(dict, row.key, row.value);
    if (row.key == std::string("object")) {
      HalconCpp::SetDictObject(test::ramp(1, 1), one, row.key);
      HalconCpp::SetDictObject(test::ramp(1, 1), dict, row.key);
    }
    try {
      written(HDict(one[0].H()), option, "true");
      ADD_FAILURE() << row.key;
    } catch (const HException& failure) {
      EXPECT_THAT(failure.ErrorMessage().Text(), HasSubstr(row.reason));
    }
  }
  EXPECT_EQ(test::read(folder / "out.json"), "old");
  EXPECT_EQ(show(read(written(written_dict, option, "false"))), "{'7':'seven','list':{'0':0,'2':2}}");
  EXPECT_THROW(written(written_dict, option, "no"), HException);
  EXPECT_THROW(written(written_dict, "lenient", "false"), HException);
}

TEST_F(Json, RefusesADictionaryThatHoldsItself) {
  HTuple dict;
  HalconCpp::CreateDict(&dict);
  HalconCpp::SetDictTuple(dict, "self", dict);
  EXPECT_THROW(written(HDict(dict[0].H())), HException);
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
    test::write(folder / row.name, row.content);
    std::string outcome;
    try {
      HDict dict;
      dict.ReadDict((folder / row.name).c_str(), HTuple(), HTuple());
      outcome = show(dict);
    } catch (const HException& failure) {
      outcome = failure.ErrorMessage().Text();
    }
    EXPECT_THAT(outcome, HasSubstr(row.outcome));
  }
}

}  // namespace
