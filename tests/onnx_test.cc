// Deep-learning models: what an ONNX file shows, files that are none, and models that hold one another.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "HalconCreate.h"
#include "support/files.h"

namespace {

using namespace HalconCpp;
using ::testing::HasSubstr;

// Protocol buffers, written by hand: numbers and messages (or texts) by field.
std::string varint(std::uint64_t value) {
  std::string bytes;
  for (; value >= 128; value >>= 7) bytes += static_cast<char>(value | 128);
  return bytes + static_cast<char>(value);
}
std::string number(int field, std::uint64_t value) { return varint(static_cast<unsigned>(field) << 3) + varint(value); }
std::string message(int field, const std::string& bytes) {
  return varint(static_cast<unsigned>(field) << 3 | 2) + varint(bytes.size()) + bytes;
}

enum Element { Float = 1, Int64 = 7, String = 8 };

std::string tensor_type(std::uint64_t element, const std::string& shape) {
  return message(1, number(1, element) + message(2, shape));
}
std::string value_info(const std::string& name, const std::string& type) { return message(1, name) + message(2, type); }
std::string size(std::uint64_t value) { return message(1, number(1, value)); }
std::string size(const std::string& name) { return message(1, message(2, name)); }
std::string node(const std::string& type, const std::string& name, const std::string& output) {
  return message(1, message(2, output) + message(3, name) + message(4, type));
}
std::string initializer(const std::string& name, std::uint64_t rows, std::uint64_t columns) {
  return message(5, number(1, rows) + number(1, columns) + number(2, Float) + message(8, name));
}
const std::string opset = message(8, message(1, "") + number(2, 13));
std::string model(const std::string& graph) { return number(1, 8) + message(7, graph) + opset; }

// "{name: x, shape: [1, 2]}"; a tuple of one element has no brackets.
// NOLINTNEXTLINE(misc-no-recursion): the models of this test are a few levels deep
std::string text(const HTuple& tuple) {
  std::string all;
  for (Hlong i = 0; i < tuple.Length(); ++i) {
    const HTuple element = tuple[i];
    const std::string type = element.TupleSemType()[0].S().Text();
    all += i > 0 ? ", " : "";
    if (type == "integer") all += std::to_string(element[0].L());
    if (type == "string") all += element[0].S().Text();
    if (type != "dict") continue;
    HTuple keys, value;
    GetHandleParam(element, "keys", HTuple(), &keys);
    all += '{';
    for (Hlong key = 0; key < keys.Length(); ++key) {
      GetHandleTuple(element, keys[key], &value);
      all += (key > 0 ? ", " : "") + text(keys[key]) + ": " + text(value);
    }
    all += '}';
  }
  return tuple.Length() == 1 ? all : "[" + all + "]";
}

class Onnx : public ::testing::Test {
 protected:
  void SetUp() override {
    if (refusal("a.onnx", model("")).find("HALCON_ONNX") != std::string::npos) GTEST_SKIP() << "built without ONNX";
  }
  HTuple open(const std::string& name) {
    HDlModel opened;
    opened.ReadDlModel((folder / name).c_str());
    return HTuple(opened);
  }
  // The message of a refusal; empty when the file opens.
  std::string refusal(const std::string& name, const std::string& content) {
    test::write(folder / name, content);
    try {
      open(name);
      return "";
    } catch (const HException& failure) {
      return failure.ErrorMessage().Text();
    }
  }
  test::TempDir folder;
};

TEST_F(Onnx, ShowsWhatAModelIs) {
  const std::string image = tensor_type(Float, size(1) + size("N") + message(1, ""));
  const std::string graph = message(2, "net") + message(11, value_info("x", image)) +
                            message(11, value_info("w", tensor_type(Float, size(2)))) +
                            message(11, value_info("s", message(4, message(1, tensor_type(Int64, size(3)))))) +
                            message(12, value_info("y", tensor_type(99, ""))) + node("Relu", "", "r") +
                            node("Conv", "c", "o") + node("Conv", "c", "p") + initializer("w", 2, 3) +
                            initializer("w", 4, 5) + initializer("", 1, 1);
  const std::string file = number(1, 8) + message(2, "maker") + message(3, "1.2") + message(4, "org") + number(5, 3) +
                           message(6, "about") + message(7, graph) + opset +
                           message(8, message(1, "ai.onnx.ml") + number(2, 2)) +
                           message(14, message(1, "author") + message(2, "me"));
  EXPECT_EQ(refusal("m.onnx", file), "");
  const HTuple opened = open("m.onnx");
  const char* const expected[][2] = {
      {"type", "onnx"},
      {"producer_name", "maker"},
      {"producer_version", "1.2"},
      {"domain", "org"},
      {"model_version", "3"},
      {"doc_string", "about"},
      {"ir_version", "8"},
      {"opset_import", "{ai.onnx: 13, ai.onnx.ml: 2}"},
      {"graph_name", "net"},
      {"inputs",
       "[{name: x, element_type: float, shape: [1, N, ?]}, {name: s, element_type: sequence(int64), shape: 3}]"},
      {"outputs", "{name: y, element_type: type 99, shape: []}"},
      {"num_layers", "3"},
      {"operator_types", "{Conv: 2, Relu: 1}"},
      {"layer_names", "[r, c, c]"},
      {"num_parameters", "27"},
      {"initializers",
       "{w: {element_type: float, shape: [2, 3]}, 1: {element_type: float, shape: [4, 5]}, "
       "2: {element_type: float, shape: [1, 1]}}"},
      {"metadata", "{author: me}"},
  };
  HTuple keys, value;
  GetHandleParam(opened, "keys", HTuple(), &keys);
  EXPECT_EQ(keys.Length(), static_cast<Hlong>(std::size(expected)));
  for (const auto& [key, shown] : expected) {
    GetHandleTuple(opened, key, &value);
    EXPECT_EQ(text(value), shown) << key;
  }
}

TEST_F(Onnx, RefusesWhatIsNoModel) {
  std::string nested;  // graphs in graphs, each within the attribute of a layer
  for (int level = 0; level < 34; ++level) nested = message(1, message(5, message(6, nested)));
  const std::string whole = model(node("Relu", "", "y"));
  const struct {
    const char* name;
    std::string content;
    const char* reason;
  } cases[] = {
      {"deep.onnx", model(nested), "more than 100 deep"},
      {"empty.onnx", "", "empty"},
      {"text.onnx", "some text", "is no ONNX model"},
      {"graph.onnx", opset, "holds no graph"},
      {"long.onnx", whole + '\x3a' + varint(1u << 30), "cut off"},
      {"varint.onnx", std::string(60, '\xff'), "is no ONNX model"},
      {"a.hdl", whole, "need a build against it"},
  };
  for (const auto& expected : cases)
    EXPECT_THAT(refusal(expected.name, expected.content),
                ::testing::AllOf(HasSubstr(expected.name), HasSubstr(expected.reason)));
  for (std::size_t cut = 0; cut < whole.size(); ++cut)
    EXPECT_NE(refusal(std::to_string(cut), whole.substr(0, cut)), "") << "cut to " << cut;
  // More elements than 64 bits count are as many as they do.
  const std::string huge = initializer("h", 1ULL << 62, 1ULL << 62) + initializer("n", 1, ~0ULL);
  EXPECT_EQ(refusal("huge.onnx", model(huge)), "");
  HTuple value;
  GetHandleTuple(open("huge.onnx"), "num_parameters", &value);
  EXPECT_EQ(value[0].L(), INT64_MAX);
}

TEST(DlModel, HoldsHandlesAndGoesThroughTheContainer) {
  const test::TempDir folder;
  const std::string file = folder / "chain.hdl";
  HTuple inner, model;
  for (int level = 0; level < 34; ++level) {
    HTuple dict;
    CreateDict(&dict);
    SetDictTuple(dict, "level", level);
    if (level > 0) SetDictTuple(dict, "inner", inner);
    CreateDlModel(dict, &model);
    inner = level % 2 ? model : dict;
  }
  WriteDlModel(model, file.c_str());
  HDlModel opened;
  opened.ReadDlModel(file.c_str());
  HTuple current = HTuple(opened), value;
  for (int level = 33; level >= 0; --level) {
    EXPECT_STREQ(current.TupleSemType()[0].S().Text(), level % 2 ? "dl_model" : "dict");
    GetHandleTuple(current, "level", &value);
    EXPECT_EQ(value[0].L(), level);
    if (level > 0) GetHandleTuple(current, "inner", &current);
  }
  EXPECT_THROW(CreateDlModel(model, &model), HException);
  EXPECT_THROW(WriteDlModel(inner[0].H(), (folder / "missing/x.hdl").c_str()), HException);
}

}  // namespace
