// ONNX models, read by their own schema (onnx.proto, ModelProto). The one file that includes its headers.
#include <google/protobuf/arena.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/wire_format_lite.h>
#include <onnx/onnx.pb.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <map>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "core/access.h"
#include "core/buffer.h"
#include "core/failure.h"
#include "core/limits.h"
#include "core/memory_limit.h"
#include "dicts/entry_table.h"
#include "dlmodels/dl_model.h"

namespace HalconCpp::detail {

namespace {

// A handle whose entries are being filled in.
template <class Data>
class Filling {
 public:
  void set(const char* key, HTuple value) { data_->table.set(Access::text_tuple(key), std::move(value)); }
  // Names in a file may be empty or repeat: then the key is the entry's number.
  void set(const std::string& name, int number, HTuple value) {
    HTuple key = Access::text_tuple(name);
    if (name.empty() || data_->table.find(key)) key = number;
    data_->table.set(std::move(key), std::move(value));
  }
  HHandle handle() const { return owner_; }
  HTuple tuple() const { return Access::handle_tuple(owner_); }

 private:
  Data* data_ = new Data;
  HHandle owner_ = Access::wrap(data_);
};

using Dict = Filling<DictData>;
using Model = Filling<DlModelData>;

// A dictionary of a few entries; all that are made of the same keys share them.
HTuple record(const HTuple& keys, std::initializer_list<HTuple> values) {
  std::vector<Entry> entries;
  entries.reserve(values.size());
  for (const HTuple& value : values) entries.push_back({value, HObject()});
  auto* data = new DictData;
  const HHandle owner = Access::wrap(data);
  data->table.adopt(keys, std::move(entries));
  return Access::handle_tuple(owner);
}

HTuple texts(std::initializer_list<const char*> values) {
  HTuple tuple;
  for (const char* value : values) tuple.Append(Access::text_tuple(value));
  return tuple;
}

HTuple text(const std::string& value) { return Access::text_tuple(value); }

std::string element_type(int type) {
  constexpr std::array names{"undefined",      "float",      "uint8",          "int8",       "uint16",   "int16",
                             "int32",          "int64",      "string",         "bool",       "float16",  "double",
                             "uint32",         "uint64",     "complex64",      "complex128", "bfloat16", "float8e4m3fn",
                             "float8e4m3fnuz", "float8e5m2", "float8e5m2fnuz", "uint4",      "int4",     "float4e2m1"};
  if (type >= 0 && static_cast<std::size_t>(type) < names.size()) return names[static_cast<std::size_t>(type)];
  return "type " + std::to_string(type);
}

// A size that is known is an integer; one that has only a name is that name, and any other "?".
HTuple shape_of(const onnx::TensorShapeProto& shape) {
  std::vector<HTuple> sizes;
  for (const auto& size : shape.dim()) {
    if (size.has_dim_value())
      sizes.emplace_back(Hlong{size.dim_value()});
    else
      sizes.push_back(text(size.has_dim_param() ? size.dim_param() : "?"));
  }
  return Access::elements(std::move(sizes));
}

struct Type {
  std::string name;
  const onnx::TensorShapeProto* shape = nullptr;  // if it has a shape
};

// Sequences, maps and optionals name what they hold: "sequence(float)".
Type type_of(const onnx::TypeProto& proto) {
  Type type;
  std::string closing;
  const auto tensor = [&](const auto& held) {
    type.name += element_type(held.elem_type());
    if (held.has_shape()) type.shape = &held.shape();
  };
  const auto within = [&](const std::string& holder, const onnx::TypeProto& held) {
    type.name += holder;
    closing += ')';
    return &held;
  };
  for (const onnx::TypeProto* at = &proto; at;) {
    const onnx::TypeProto* held = nullptr;
    if (at->has_tensor_type()) {
      tensor(at->tensor_type());
    } else if (at->has_sparse_tensor_type()) {
      type.name += "sparse ";
      tensor(at->sparse_tensor_type());
    } else if (at->has_sequence_type()) {
      held = within("sequence(", at->sequence_type().elem_type());
    } else if (at->has_optional_type()) {
      held = within("optional(", at->optional_type().elem_type());
    } else if (at->has_map_type()) {
      held = within("map(" + element_type(at->map_type().key_type()) + ", ", at->map_type().value_type());
    } else {
      type.name += element_type(0);
    }
    at = held;
  }
  type.name += closing;
  return type;
}

HTuple describe(const onnx::ValueInfoProto& value) {
  static const auto& shapeless = *new HTuple(texts({"name", "element_type"}));
  static const auto& shaped = *new HTuple(texts({"name", "element_type", "shape"}));
  const Type type = type_of(value.type());
  if (!type.shape) return record(shapeless, {text(value.name()), text(type.name)});
  return record(shaped, {text(value.name()), text(type.name), shape_of(*type.shape)});
}

using Values = google::protobuf::RepeatedPtrField<onnx::ValueInfoProto>;

// One dictionary per value; those whose names are in `except` are left out.
HTuple describe(const Values& values, const std::set<std::string_view>& except) {
  std::vector<HTuple> dicts;
  for (const onnx::ValueInfoProto& value : values)
    if (!except.contains(value.name())) dicts.push_back(describe(value));
  return Access::elements(std::move(dicts));
}

// The largest integer when the product is beyond it, 0 when a size is negative.
Hlong element_count(const onnx::TensorProto& tensor) {
  Hlong count = 1;
  for (const Hlong size : tensor.dims()) {
    if (size <= 0) return 0;
    count = count > std::numeric_limits<Hlong>::max() / size ? std::numeric_limits<Hlong>::max() : count * size;
  }
  return count;
}

HTuple dims_of(const onnx::TensorProto& tensor) {
  Buffer<Hlong> dims;
  for (const Hlong size : tensor.dims()) dims.push_back(size);
  return Access::integers(std::move(dims));
}

// The tensors that are stored in the model, and how many numbers they hold.
void show_initializers(Model& model, const onnx::GraphProto& graph) {
  static const auto& keys = *new HTuple(texts({"element_type", "shape"}));
  Dict initializers;
  Hlong parameters = 0;
  for (int i = 0; i < graph.initializer_size(); ++i) {
    const onnx::TensorProto& tensor = graph.initializer(i);
    initializers.set(tensor.name(), i, record(keys, {text(element_type(tensor.data_type())), dims_of(tensor)}));
    const Hlong count = element_count(tensor);
    parameters =
        count > std::numeric_limits<Hlong>::max() - parameters ? std::numeric_limits<Hlong>::max() : parameters + count;
  }
  model.set("num_parameters", parameters);
  model.set("initializers", initializers.tuple());
}

// Operator types with their counts, the most frequent first.
HTuple operator_types(const onnx::GraphProto& graph) {
  std::map<std::string_view, Hlong> counts;
  for (const onnx::NodeProto& node : graph.node()) ++counts[node.op_type()];
  std::vector<std::pair<std::string_view, Hlong>> sorted(counts.begin(), counts.end());
  std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.second > b.second; });
  Dict dict;
  int number = 0;
  for (const auto& [type, count] : sorted) dict.set(std::string(type), number++, count);
  return dict.tuple();
}

// In many files layers have no names: then the name of the first output is used.
HTuple layer_names(const onnx::GraphProto& graph) {
  std::vector<HTuple> names;
  names.reserve(static_cast<std::size_t>(graph.node_size()));
  for (const onnx::NodeProto& node : graph.node())
    names.push_back(text(node.name().empty() && node.output_size() > 0 ? node.output(0) : node.name()));
  return Access::elements(std::move(names));
}

void show_graph(Model& model, const onnx::GraphProto& graph) {
  std::set<std::string_view> initialized;
  for (const onnx::TensorProto& tensor : graph.initializer()) initialized.insert(tensor.name());
  model.set("graph_name", text(graph.name()));
  model.set("inputs", describe(graph.input(), initialized));
  model.set("outputs", describe(graph.output(), {}));
  model.set("num_layers", Hlong{graph.node_size()});
  model.set("operator_types", operator_types(graph));
  model.set("layer_names", layer_names(graph));
  show_initializers(model, graph);
}

void show_origin(Model& model, const onnx::ModelProto& proto) {
  model.set("type", "onnx");
  model.set("producer_name", text(proto.producer_name()));
  model.set("producer_version", text(proto.producer_version()));
  model.set("domain", text(proto.domain()));
  model.set("model_version", Hlong{proto.model_version()});
  model.set("doc_string", text(proto.doc_string()));
  model.set("ir_version", Hlong{proto.ir_version()});
  Dict opsets;
  for (int i = 0; i < proto.opset_import_size(); ++i) {
    const auto& opset = proto.opset_import(i);
    opsets.set(opset.domain().empty() ? "ai.onnx" : opset.domain(), i, Hlong{opset.version()});
  }
  model.set("opset_import", opsets.tuple());
}

HTuple metadata(const onnx::ModelProto& proto) {
  Dict dict;
  for (int i = 0; i < proto.metadata_props_size(); ++i)
    dict.set(proto.metadata_props(i).key(), i, text(proto.metadata_props(i).value()));
  return dict.tuple();
}

using Stream = google::protobuf::io::CodedInputStream;

Stream stream_of(std::span<const std::byte> file) {
  return Stream(reinterpret_cast<const std::uint8_t*>(file.data()), static_cast<int>(file.size()));
}

// Whether the fields of the outermost message fill the file to its end; what they contain is not checked.
bool fields_fill(std::span<const std::byte> file) {
  Stream stream = stream_of(file);
  while (const std::uint32_t tag = stream.ReadTag())
    if (!google::protobuf::internal::WireFormatLite::SkipField(&stream, tag)) return false;
  return stream.ConsumedEntireMessage();
}

// The memory of the messages, in blocks of some KiB.
void* allocate_counted(std::size_t bytes) {
  charge_memory(bytes);
  return ::operator new(bytes);
}

void free_counted(void* block, std::size_t bytes) {
  credit_memory(bytes);
  ::operator delete(block);
}

void parse(std::span<const std::byte> file, onnx::ModelProto& proto) {
  if (file.size() > INT_MAX) fail("has more than 2 GiB, the limit of ONNX files");
  // From an array, protobuf compares the declared length of a string with the bytes that are left. From a stream it
  // would reserve up to 50 MB for it first. An array is read to protobuf's own nesting limit, which is onnx_nesting.
  if (!proto.ParsePartialFromArray(file.data(), static_cast<int>(file.size()))) {
    if (!fields_fill(file)) fail("is not an ONNX model, or is cut off");
    fail("is not an ONNX model, is damaged, or nests its messages more than " + std::to_string(limits::onnx_nesting) +
         " deep");
  }
  if (!proto.has_graph()) fail("is not an ONNX model, or is cut off: it holds no graph");
  // Older versions had no operator sets.
  if (proto.ir_version() >= 3 && proto.opset_import_size() == 0) fail("is cut off: it names no operator set");
}

}  // namespace

HHandle read_onnx(std::span<const std::byte> file) {
  google::protobuf::ArenaOptions options;
  options.block_alloc = allocate_counted;
  options.block_dealloc = free_counted;
  google::protobuf::Arena arena(options);
  onnx::ModelProto& proto = *google::protobuf::Arena::CreateMessage<onnx::ModelProto>(&arena);
  parse(file, proto);
  Model model;
  show_origin(model, proto);
  show_graph(model, proto.graph());
  model.set("metadata", metadata(proto));
  return model.handle();
}

}  // namespace HalconCpp::detail
