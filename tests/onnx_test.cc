// Deep-learning models: what an ONNX file shows, files that are none, and models that hold one another.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "support/bytes.h"
#include "support/files.h"
#include "support/values.h"

namespace {

using namespace HalconCpp;
using namespace test;
using namespace std::string_literals;
using ::testing::HasSubstr;

// Protocol buffers, written by hand.
std::string number(int field, std::uint64_t value) { return varint(static_cast<unsigned>(field) << 3) + varint(value); }
enum Element { Float = 1, Int64 = 7, String = 8 };

std::string tensor_type(std::uint64_t element, const std::string& shape) {
  return message(1, number(1, element) + message(2, shape));
}
std::string value_info(const std::string& name, const std::string& type) { return message(1, name) + message(2, type); }
std::string size(std::uint64_t value) { return message(1, number(1, value)); }
std::string size(const std::string& name) { return message(1, message(2, name)); }
std::string node(const std::string& type, const std::string& name, const std::string& output,
                 const std::string& more = "") {
  return message(1, message(2, output) + message(3, name) + message(4, type) + more);
}
std::string real(int field, float value) {
  return varint(static_cast<unsigned>(field) << 3 | 5) + std::string(reinterpret_cast<const char*>(&value), 4);
}
std::string attribute(const std::string& name, std::uint64_t type, const std::string& value) {
  return message(5, message(1, name) + value + number(20, type));
}
std::string initializer(const std::string& name, std::uint64_t rows, std::uint64_t columns) {
  return message(5, number(1, rows) + number(1, columns) + number(2, Float) + message(8, name));
}
const std::string opset = message(8, message(1, "") + number(2, 13));
std::string model(const std::string& graph) { return number(1, 8) + message(7, graph) + opset; }

class Onnx : public ::testing::Test {
 protected:
  // The message of the error; empty when the file opens.
  std::string failure_of(const std::string& name, const std::string& content) {
    write(folder / name, content);
    return failure([&] { read_dl_model(folder / name); });
  }
  TempDir folder;
};

TEST_F(Onnx, ShowsWhatAModelIs) {
  const std::string image = tensor_type(Float, size(1) + size("N") + message(1, ""));
  const std::string tensor = number(1, 2) + number(1, 3) + number(2, Float);
  const std::string attributes =
      attribute("f", 1, real(2, 0.5f)) + attribute("i", 2, number(3, static_cast<std::uint64_t>(-2))) +
      attribute("s", 3, message(4, "SAME")) + attribute("fs", 6, real(7, 1.5f) + real(7, 2)) +
      attribute("is", 7, number(8, 3) + number(8, 3)) + attribute("ss", 8, message(9, "a") + message(9, "b")) +
      attribute("t", 4, message(5, tensor)) + attribute("g", 5, message(6, node("Relu", "", "r"))) +
      attribute("f", 11, "");
  const std::string graph =
      message(2, "net") + message(11, value_info("x", image)) +
      message(11, value_info("w", tensor_type(Float, size(2)))) +
      message(11, value_info("s", message(4, message(1, tensor_type(Int64, size(3)))))) +
      message(12, value_info("y", tensor_type(99, ""))) + node("Relu", "", "r") +
      node("Conv", "c", "o", message(1, "x") + message(1, "w") + message(7, "org.own") + attributes) +
      node("Conv", "c", "p") + message(13, value_info("r", tensor_type(Float, size(2)))) + initializer("w", 2, 3) +
      initializer("w", 4, 5) + initializer("", 1, 1);
  const std::string file = number(1, 8) + message(2, "maker") + message(3, "1.2") + message(4, "org") + number(5, 3) +
                           message(6, "about") + message(7, graph) + opset +
                           message(8, message(1, "ai.onnx.ml") + number(2, 2)) +
                           message(14, message(1, "author") + message(2, "me"));
  EXPECT_EQ(failure_of("m.onnx", file), "");
  EXPECT_EQ(
      shown(read_dl_model(folder / "m.onnx")),
      "dl_model{'type':'onnx','producer_name':'maker','producer_version':'1.2','domain':'org','model_version':3,"
      "'doc_string':'about','ir_version':8,'opset_import':{'ai.onnx':13,'ai.onnx.ml':2},'graph_name':'net',"
      "'inputs':({'name':'x','element_type':'float','shape':(1,'N','?')},"
      "{'name':'s','element_type':'sequence(int64)','shape':3}),"
      "'outputs':{'name':'y','element_type':'type 99','shape':()},'num_layers':3,"
      "'operator_types':{'Conv':2,'Relu':1},'layer_names':('r','c','c'),"
      "'layers':({'name':'','operator':'Relu','inputs':(),'outputs':'r'},"
      "{'name':'c','operator':'org.own.Conv','inputs':('x','w'),'outputs':'o','attributes':{'f':0.5,'i':-2,'s':'SAME',"
      "'fs':(1.5,2.),'is':(3,3),'ss':('a','b'),'t':'float[2, 3]','g':'graph',8:'attribute of type 11'}},"
      "{'name':'c','operator':'Conv','inputs':(),'outputs':'p'}),"
      "'values':{'name':'r','element_type':'float','shape':2},'num_parameters':27,"
      "'initializers':{'w':{'element_type':'float','shape':(2,3)},1:{'element_type':'float','shape':(4,5)},"
      "2:{'element_type':'float','shape':(1,1)}},'metadata':{'author':'me'}}");
}

// What protobuf's parser accepts though no writer makes it, and weights, which are skipped.
TEST_F(Onnx, ReadsWhateverTheEncodingAllows) {
  const std::string group = varint(30 << 3 | 3) + number(1, 5) + varint(30 << 3 | 4);
  const std::string dims = message(1, varint(2) + varint(3)), weights = message(9, std::string(200000, 'w'));
  const std::string type = message(1, number(1, Float) + message(2, size(7)));
  const std::string last =
      message(11, message(2, type + message(4, message(1, type)) + type) + message(1, "a") + message(1, "x"));
  const std::string graph = message(5, weights + dims + number(1, 4) + message(8, "w") + weights + group) + last +
                            message(1, number(3, 1) + message(4, "Relu"));
  // Each message comes twice, the second with a tag and a length that are longer than they need to be.
  const std::string twice = message(7, message(2, "old") + graph) + "\xba\x80\0\x85\x80\0"s + message(2, "new") + opset;
  ASSERT_EQ(failure_of("odd.onnx", group + number(1, 8) + twice), "");
  const std::string shown_model = shown(read_dl_model(folder / "odd.onnx"));
  for (const char* part :
       {"'graph_name':'new'", "'inputs':{'name':'x','element_type':'float','shape':7}", "'operator_types':{'Relu':1}",
        "'layer_names':''", "'num_parameters':24", "'initializers':{'w':{'element_type':'undefined','shape':(2,3,4)}}"})
    EXPECT_THAT(shown_model, HasSubstr(part));
}

// Graphs in graphs, each within the attribute of a layer.
std::string nested(int levels) {
  std::string graph;
  for (int level = 0; level < levels; ++level) graph = message(1, message(5, message(6, graph)));
  return model(graph);
}

TEST_F(Onnx, RejectsWhatIsNoModel) {
  const std::string whole = model(node("Relu", "", "y"));
  const std::tuple<const char*, std::string, const char*> cases[] = {
      {"deep.onnx", nested(34), "more than 100 deep"},
      {"groups.onnx", opset + std::string(101, '\x2b') + std::string(101, '\x2c'), "cut off"},
      {"group.onnx", whole + "\x2b\x34", "cut off"},
      {"field.onnx", model(message(1, varint(0) + varint(0))), "is damaged"},
      {"float.onnx", model(message(1, message(5, varint(2 << 3 | 5) + "123")) + message(2, "more")), "is damaged"},
      {"floats.onnx", model(message(5, message(4, "12345"))), "is damaged"},
      {"ints.onnx", model(message(5, message(7, "\x80"))), "is damaged"},
      {"within.onnx", model(message(5, varint(8 << 3 | 2) + varint(9) + "w")), "is damaged"},
      {"attribute.onnx", model(message(1, message(5, message(5, message(13, "\x07"))))), "is damaged"},
      {"empty.onnx", "", "empty"},
      {"text.onnx", "some text", "is not an ONNX model"},
      {"graph.onnx", opset, "holds no graph"},
      {"long.onnx", whole + '\x3a' + varint(1u << 30), "cut off"},
      {"varint.onnx", std::string(60, '\xff'), "is not an ONNX model"},
      {"a.hdl", whole, "needs a build against it"},
  };
  for (const auto& [name, content, reason] : cases)
    EXPECT_THAT(failure_of(name, content), ::testing::AllOf(HasSubstr(name), HasSubstr(reason)));
  EXPECT_EQ(failure_of("deepest.onnx", nested(33)), "");
  for (std::size_t cut = 0; cut < whole.size(); ++cut)
    EXPECT_NE(failure_of(std::to_string(cut), whole.substr(0, cut)), "") << "cut to " << cut;
  // More elements than 64 bits count are as many as they do.
  const std::string huge = initializer("h", 1ULL << 62, 1ULL << 62) + initializer("n", 1, ~0ULL);
  EXPECT_EQ(failure_of("huge.onnx", model(huge)), "");
  HTuple value;
  GetHandleTuple(read_dl_model(folder / "huge.onnx"), "num_parameters", &value);
  EXPECT_EQ(value[0].L(), INT64_MAX);
}

TEST(DlModel, HoldsHandlesAndGoesThroughTheContainer) {
  const TempDir folder;
  HTuple chain;
  for (int level = 0; level < 34; ++level) {
    const HTuple dict = new_dict({{"level", level}, {"inner", chain}});
    chain = level % 2 ? new_dl_model(dict) : dict;
  }
  WriteDlModel(chain, (folder / "chain.hdl").c_str());
  EXPECT_EQ(shown(read_dl_model(folder / "chain.hdl")), shown(chain));
  EXPECT_THROW(new_dl_model(chain), HException);
  EXPECT_THROW(WriteDlModel(new_dict()[0].H(), (folder / "x.hdl").c_str()), HException);
  EXPECT_THROW(WriteDlModel(chain, (folder / "missing/x.hdl").c_str()), HException);
}

}  // namespace
