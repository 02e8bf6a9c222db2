// ONNX models, after "Open Neural Network Exchange Intermediate Representation" and its schema, onnx.proto: messages
// and fields have the names and the numbers that they have there.
#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "core/access.h"
#include "core/buffer.h"
#include "core/failure.h"
#include "core/file.h"
#include "core/limits.h"
#include "core/memory_limit.h"
#include "dicts/entry_table.h"
#include "dlmodels/dl_model.h"
#include "dlmodels/onnx_schema.h"
#include "dlmodels/wire.h"

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
using Entries = Filling<DlModelData>;

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

// The fields of TypeProto that say what a type is.
enum TypeField : std::uint32_t {
  no_type,
  tensor_type,
  sequence_type = 4,
  map_type,
  sparse_tensor_type = 8,
  optional_type
};

// What is kept of a TypeProto. A sequence, a map and an optional have a type in them.
struct Type {
  std::uint32_t is = no_type;
  std::int32_t element = 0;  // elem_type, or key_type of a map
  bool has_shape = false;
  std::vector<HTuple> shape;
  std::unique_ptr<Type> held;

  // The last of such fields says what the type is; when it comes again, both are taken together.
  void become(std::uint32_t field) {
    if (is == field) return;
    *this = Type();
    is = field;
    if (field != tensor_type && field != sparse_tensor_type) held = std::make_unique<Type>();
  }
  Type& innermost() {
    Type* last = this;
    while (last->held) last = last->held.get();
    return *last;
  }
};

// Sequences, maps and optionals name what they hold: "sequence(float)".
std::string name_of(const Type& type) {
  std::string name, closing;
  for (const Type* at = &type; at; at = at->held.get()) {
    if (at->held) closing += ')';
    if (at->is == sequence_type)
      name += "sequence(";
    else if (at->is == optional_type)
      name += "optional(";
    else if (at->is == map_type)
      name += "map(" + element_type(at->element) + ", ";
    else
      name += (at->is == sparse_tensor_type ? "sparse " : "") + element_type(at->element);
  }
  return name + closing;
}

HTuple describe(const std::string& name, Type type) {
  static const auto& shapeless = *new HTuple(texts({"name", "element_type"}));
  static const auto& shaped = *new HTuple(texts({"name", "element_type", "shape"}));
  const std::string type_name = name_of(type);
  Type& last = type.innermost();
  if (!last.has_shape) return record(shapeless, {text(name), text(type_name)});
  return record(shaped, {text(name), text(type_name), Access::elements(std::move(last.shape))});
}

// An input or output.
struct Value {
  std::string name;
  HTuple shown;
};

// The values but those whose names are in `except`, which is sorted.
HTuple shown(std::vector<Value>& values, const std::vector<std::string>& except) {
  std::vector<HTuple> dicts;
  for (Value& value : values)
    if (!std::binary_search(except.begin(), except.end(), value.name)) dicts.push_back(std::move(value.shown));
  return Access::elements(std::move(dicts));
}

constexpr Hlong max_count = std::numeric_limits<Hlong>::max();

// The largest integer when the product is beyond it, 0 when a size is negative.
Hlong element_count(const Buffer<Hlong>& dims) {
  Hlong count = 1;
  for (const Hlong size : dims) {
    if (size <= 0) return 0;
    count = count > max_count / size ? max_count : count * size;
  }
  return count;
}

struct Tensor {
  std::string name;
  std::int32_t type = 0;
  Buffer<Hlong> dims;
};

// Which of the values is meant is what `type` tells, an AttributeType.
struct Attribute {
  std::string name, s;
  std::int32_t type = 0;
  float f = 0;
  Hlong i = 0;
  Tensor tensor;
  Buffer<double> floats;
  Buffer<Hlong> ints;
  std::vector<HTuple> strings;

  HTuple value() {
    switch (type) {
      case 1:
        return double{f};
      case 2:
        return i;
      case 3:
        return text(s);
      case 4:
        return tensor_text();
      case 5:
        return text("graph");
      case 6:
        return Access::reals(std::move(floats));
      case 7:
        return Access::integers(std::move(ints));
      case 8:
        return Access::elements(std::move(strings));
      default:
        return text("attribute of type " + std::to_string(type));
    }
  }
  // "float[2, 3]": the numbers themselves are left out.
  HTuple tensor_text() const {
    std::string shown = element_type(tensor.type) + '[';
    for (std::size_t at = 0; at < tensor.dims.size(); ++at)
      shown += (at > 0 ? ", " : "") + std::to_string(tensor.dims[at]);
    return text(shown + ']');
  }
};

// A dictionary of a few short entries, and its handle.
constexpr std::uint64_t dictionary_bytes = 512;

// Memory for what is kept of a file, counted until the reading ends.
class Charges {
 public:
  Charges() = default;
  ~Charges() { credit_memory(bytes_); }
  Charges(const Charges&) = delete;
  Charges& operator=(const Charges&) = delete;
  void add(std::uint64_t bytes) {
    charge_memory(bytes);
    bytes_ += bytes;
  }

 private:
  std::uint64_t bytes_ = 0;
};

// Reads a ModelProto. A message that comes again adds to what it was, and the last value of a field holds.
class ModelReader {
 public:
  explicit ModelReader(InputFile& file) : wire_(file, limits::onnx_nesting) {}

  HHandle read() {
    read_model();
    if (!has_graph_) fail("is not an ONNX model, or is cut off: it holds no graph");
    // Older versions had no operator sets.
    if (ir_version_ >= 3 && opset_count_ == 0) fail("is cut off: it names no operator set");
    Entries model;
    show_origin(model);
    show_graph(model);
    model.set("metadata", metadata_.tuple());
    return model.handle();
  }

  // Whether at least the outermost fields are whole.
  bool outer_fields_fill_file() { return wire_.outer_fields_fill_file(); }

 private:
  bool take(Field field, std::uint32_t number, std::string& to) {
    if (!field.is(number, WireType::Bytes)) return false;
    const std::size_t length = wire_.length();
    kept_.add(2 * std::uint64_t{length});  // here and in the tuple that is made of it
    to = wire_.text(length);
    return true;
  }
  template <class Integer>
  requires std::is_integral_v<Integer>
  bool take(Field field, std::uint32_t number, Integer& to) {
    if (!field.is(number, WireType::Varint)) return false;
    to = static_cast<Integer>(wire_.varint());
    return true;
  }
  template <class Body>
  requires std::is_invocable_v<Body>
  bool take(Field field, std::uint32_t number, Body body) {
    if (!field.is(number, WireType::Bytes)) return false;
    kept_.add(64);
    wire_.message(body);
    return true;
  }

  // What is not kept is looked through all the same: a model is whole or it is not one.
  bool look_through(onnx::Message of, Field field) {
    const onnx::Part* part = part_of(of, field);
    if (!part) return false;
    if (part->content == onnx::Content::Message)
      wire_.message([&] { look_through(part->message); });
    else
      skip_numbers(part->content);
    return true;
  }
  void look_through(onnx::Message message) {
    struct Outer {
      onnx::Message message;
      std::uint64_t end;
    };
    std::vector<Outer> outside;
    for (;;) {
      if (wire_.at_end()) {
        if (outside.empty()) return;
        message = outside.back().message;
        wire_.leave(outside.back().end);
        outside.pop_back();
        continue;
      }
      const Field field = wire_.next_field();
      const onnx::Part* part = part_of(message, field);
      if (!part) {
        wire_.skip(field);
      } else if (part->content == onnx::Content::Message) {
        outside.push_back({message, wire_.enter()});
        message = part->message;
      } else {
        skip_numbers(part->content);
      }
    }
  }
  static const onnx::Part* part_of(onnx::Message message, Field field) {
    return field.type == WireType::Bytes ? onnx::part_of(message, field.number) : nullptr;
  }
  void skip_numbers(onnx::Content content) {
    if (content == onnx::Content::Varints) return wire_.varints([](std::uint64_t) {});
    const std::size_t length = wire_.length(), size = content == onnx::Content::Fixed32 ? 4 : 8;
    if (length % size != 0) throw MalformedMessage();
    wire_.skip_bytes(length);
  }

  void read_model() {
    wire_.fields([&](Field field) {
      return take(field, 1, ir_version_) || take(field, 2, producer_name_) || take(field, 3, producer_version_) ||
             take(field, 4, domain_) || take(field, 5, model_version_) || take(field, 6, doc_string_) ||
             take(field, 7, [&] { read_graph(); }) || take(field, 8, [&] { read_opset(); }) ||
             take(field, 14, [&] { read_metadata(); }) || look_through(onnx::Message::Model, field);
    });
  }

  // OperatorSetIdProto
  void read_opset() {
    std::string domain;
    Hlong version = 0;
    wire_.fields([&](Field field) { return take(field, 1, domain) || take(field, 2, version); });
    opsets_.set(domain.empty() ? "ai.onnx" : domain, opset_count_++, version);
  }

  // StringStringEntryProto
  void read_metadata() {
    std::string key, value;
    wire_.fields([&](Field field) { return take(field, 1, key) || take(field, 2, value); });
    metadata_.set(key, metadata_count_++, text(value));
  }

  void read_graph() {
    has_graph_ = true;
    wire_.fields([&](Field field) {
      return take(field, 1, [&] { read_node(); }) || take(field, 2, graph_name_) ||
             take(field, 5, [&] { read_initializer(); }) || take(field, 11, [&] { read_value(inputs_); }) ||
             take(field, 12, [&] { read_value(outputs_); }) || take(field, 13, [&] { read_value(values_); }) ||
             look_through(onnx::Message::Graph, field);
    });
  }

  // NodeProto. In many files layers have no names: then the name of the first output is used in the list of names.
  void read_node() {
    static const auto& plain = *new HTuple(texts({"name", "operator", "inputs", "outputs"}));
    static const auto& with_attributes = *new HTuple(texts({"name", "operator", "inputs", "outputs", "attributes"}));
    kept_.add(dictionary_bytes);
    std::string name, op_type, domain, first_output, value;
    std::vector<HTuple> inputs, outputs;
    Dict attributes;
    int attribute_count = 0;
    wire_.fields([&](Field field) {
      if (take(field, 1, value)) return inputs.push_back(text(value)), true;
      if (take(field, 2, value)) {
        if (outputs.empty()) first_output = value;
        return outputs.push_back(text(value)), true;
      }
      return take(field, 3, name) || take(field, 4, op_type) || take(field, 7, domain) ||
             take(field, 5, [&] { read_attribute(attributes, attribute_count++); }) ||
             look_through(onnx::Message::Node, field);
    });
    layer_names_.push_back(text(name.empty() ? first_output : name));
    const HTuple shown_type = text(domain.empty() || domain == "ai.onnx" ? op_type : domain + '.' + op_type);
    const HTuple in = Access::elements(std::move(inputs)), out = Access::elements(std::move(outputs));
    layers_.push_back(attribute_count == 0
                          ? record(plain, {text(name), shown_type, in, out})
                          : record(with_attributes, {text(name), shown_type, in, out, attributes.tuple()}));
    ++op_types_[std::move(op_type)];
  }

  // AttributeProto. Numbers and texts are kept as they are; what is larger is named.
  void read_attribute(Dict& attributes, int number) {
    Attribute read;
    const auto add_integer = [&](std::uint64_t value) {
      kept_.add(sizeof(Hlong));
      read.ints.push_back(static_cast<Hlong>(value));
    };
    std::string value;
    wire_.fields([&](Field field) {
      if (field.is(2, WireType::Fixed32)) return read.f = read_float(), true;
      if (field.is(7, WireType::Fixed32)) return read.floats.push_back(read_float()), true;
      if (field.is(7, WireType::Bytes)) return read_floats(read.floats), true;
      if (field.is(8, WireType::Bytes)) return wire_.varints(add_integer), true;
      if (field.is(8, WireType::Varint)) return add_integer(wire_.varint()), true;
      if (take(field, 9, value)) return read.strings.push_back(text(value)), true;
      return take(field, 1, read.name) || take(field, 3, read.i) || take(field, 4, read.s) ||
             take(field, 20, read.type) || take(field, 5, [&] { read.tensor = read_tensor(); }) ||
             look_through(onnx::Message::Attribute, field);
    });
    attributes.set(read.name, number, read.value());
  }

  float read_float() { return std::bit_cast<float>(wire_.fixed32()); }
  void read_floats(Buffer<double>& to) {
    const std::size_t length = wire_.length();
    if (length % sizeof(float) != 0) throw MalformedMessage();
    kept_.add(2 * std::uint64_t{length});
    for (std::size_t i = 0; i < length / sizeof(float); ++i) to.push_back(read_float());
  }

  // TensorProto
  Tensor read_tensor() {
    Tensor tensor;
    const auto add = [&](std::uint64_t size) { tensor.dims.push_back(static_cast<Hlong>(size)); };
    wire_.fields([&](Field field) {
      if (field.is(1, WireType::Bytes)) return wire_.varints(add), true;
      if (field.is(1, WireType::Varint)) return add(wire_.varint()), true;
      return take(field, 2, tensor.type) || take(field, 8, tensor.name) || look_through(onnx::Message::Tensor, field);
    });
    return tensor;
  }

  // A tensor that is stored in the model.
  void read_initializer() {
    static const auto& keys = *new HTuple(texts({"element_type", "shape"}));
    kept_.add(dictionary_bytes);
    auto [name, type, dims] = read_tensor();
    const Hlong count = element_count(dims);
    parameters_ = count > max_count - parameters_ ? max_count : parameters_ + count;
    initializers_.set(name, initializer_count_++,
                      record(keys, {text(element_type(type)), Access::integers(std::move(dims))}));
    initialized_.push_back(std::move(name));
  }

  void read_value(std::vector<Value>& values) {
    kept_.add(dictionary_bytes);
    std::string name;
    Type type;
    wire_.fields([&](Field field) {
      return take(field, 1, name) || take(field, 2, [&] { read_type(type); }) ||
             look_through(onnx::Message::ValueInfo, field);
    });
    HTuple described = describe(name, std::move(type));
    values.push_back({std::move(name), std::move(described)});
  }

  // Types within types, without recursion: a list holds the types around the current one.
  void read_type(Type& outermost) {
    struct Level {
      onnx::Message message;
      Type* type;
      std::uint64_t outer_end;
    };
    std::vector<Level> levels{{onnx::Message::Type, &outermost, 0}};
    for (;;) {
      const auto [message, type, outer_end] = levels.back();
      if (wire_.at_end()) {
        levels.pop_back();
        if (levels.empty()) return;
        wire_.leave(outer_end);
        continue;
      }
      const Field field = wire_.next_field();
      const onnx::Part* part = part_of(message, field);
      if (!part) {
        const bool has_element = message == onnx::Message::TensorType || message == onnx::Message::MapType;
        if (!has_element || !take(field, 1, type->element)) wire_.skip(field);
      } else if (part->message == onnx::Message::Shape) {
        wire_.message([&, of = type] { read_shape(*of); });
      } else {
        kept_.add(64);
        if (message == onnx::Message::Type) type->become(field.number);
        levels.push_back({part->message, message == onnx::Message::Type ? type : type->held.get(), wire_.enter()});
      }
    }
  }

  void read_shape(Type& type) {
    type.has_shape = true;
    wire_.fields([&](Field dim) { return take(dim, 1, [&] { type.shape.push_back(read_dimension()); }); });
  }

  // A size that is known is an integer; one that has only a name is that name, and any other "?".
  HTuple read_dimension() {
    HTuple size = text("?");
    Hlong dim_value = 0;
    std::string dim_param;
    wire_.fields([&](Field field) {
      if (take(field, 1, dim_value)) return size = dim_value, true;
      if (take(field, 2, dim_param)) return size = text(dim_param), true;
      return false;
    });
    return size;
  }

  void show_origin(Entries& model) const {
    model.set("type", "onnx");
    model.set("producer_name", text(producer_name_));
    model.set("producer_version", text(producer_version_));
    model.set("domain", text(domain_));
    model.set("model_version", model_version_);
    model.set("doc_string", text(doc_string_));
    model.set("ir_version", ir_version_);
    model.set("opset_import", opsets_.tuple());
  }

  void show_graph(Entries& model) {
    std::sort(initialized_.begin(), initialized_.end());
    model.set("graph_name", text(graph_name_));
    model.set("inputs", shown(inputs_, initialized_));
    model.set("outputs", shown(outputs_, {}));
    model.set("num_layers", static_cast<Hlong>(layer_names_.size()));
    model.set("operator_types", shown_op_types());
    model.set("layer_names", Access::elements(std::move(layer_names_)));
    model.set("layers", Access::elements(std::move(layers_)));
    model.set("values", shown(values_, {}));
    model.set("num_parameters", parameters_);
    model.set("initializers", initializers_.tuple());
  }

  // With their counts, the most frequent first.
  HTuple shown_op_types() const {
    std::vector<std::pair<std::string_view, Hlong>> sorted(op_types_.begin(), op_types_.end());
    std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.second > b.second; });
    Dict dict;
    int number = 0;
    for (const auto& [type, count] : sorted) dict.set(std::string(type), number++, count);
    return dict.tuple();
  }

  WireReader wire_;
  Charges kept_;
  Hlong ir_version_ = 0, model_version_ = 0;
  std::string producer_name_, producer_version_, domain_, doc_string_, graph_name_;
  Dict opsets_, metadata_, initializers_;
  int opset_count_ = 0, metadata_count_ = 0, initializer_count_ = 0;
  bool has_graph_ = false;
  std::vector<Value> inputs_, outputs_, values_;
  std::vector<HTuple> layer_names_, layers_;
  std::map<std::string, Hlong> op_types_;
  std::vector<std::string> initialized_;  // the names of the initializers
  Hlong parameters_ = 0;
};

}  // namespace

HHandle read_onnx(InputFile& file) {
  if (file.size() > std::numeric_limits<std::int32_t>::max()) fail("has more than 2 GiB, the limit of ONNX files");
  ModelReader reader(file);
  try {
    return reader.read();
  } catch (const MalformedMessage&) {
    if (!reader.outer_fields_fill_file()) fail("is not an ONNX model, or is cut off");
    fail("is not an ONNX model, is damaged, or nests its messages more than " + std::to_string(limits::onnx_nesting) +
         " deep");
  }
}

}  // namespace HalconCpp::detail
