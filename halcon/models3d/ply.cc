// PLY, after "The PLY Polygon File Format" (Greg Turk, 1994): a text header that declares elements and their
// properties, then their values as text or binary.
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "core/buffer.h"
#include "core/failure.h"
#include "models3d/mesh.h"
#include "models3d/mesh_file.h"
#include "models3d/model3d.h"
#include "models3d/text_scanner.h"

namespace HalconCpp::detail {

namespace {

enum class Type : std::uint8_t { Int8, UInt8, Int16, UInt16, Int32, UInt32, Float, Double };

constexpr std::size_t type_size(Type type) noexcept {
  constexpr std::array<std::uint8_t, 8> sizes{1, 1, 2, 2, 4, 4, 4, 8};
  return sizes[static_cast<std::size_t>(type)];
}

struct Property {
  Type type = Type::Float;
  std::optional<Type> count_type;     // a list
  Buffer<double>* numbers = nullptr;  // where the values go,
  Buffer<float>* levels = nullptr;    // or these,
  bool corners = false;               // or a face
};

struct Element {
  std::string name;
  std::uint64_t count = 0;
  std::vector<Property> properties;
};

enum class Encoding { Text, LittleEndian, BigEndian };

struct Header {
  Encoding encoding = Encoding::Text;
  std::vector<Element> elements;
};

Type parse_type(const TextScanner& text, std::string_view name) {
  constexpr std::pair<std::string_view, Type> names[] = {
      {"char", Type::Int8},   {"int8", Type::Int8},     {"uchar", Type::UInt8},   {"uint8", Type::UInt8},
      {"short", Type::Int16}, {"int16", Type::Int16},   {"ushort", Type::UInt16}, {"uint16", Type::UInt16},
      {"int", Type::Int32},   {"int32", Type::Int32},   {"uint", Type::UInt32},   {"uint32", Type::UInt32},
      {"float", Type::Float}, {"float32", Type::Float}, {"double", Type::Double}, {"float64", Type::Double}};
  for (const auto& [known, type] : names)
    if (name == known) return type;
  text.fail_here(quoted(name) + " is not a type of a property");
}

bool is_real(Type type) noexcept { return type == Type::Float || type == Type::Double; }

// Connects a vertex property that the model keeps with the array that takes its values.
void connect_vertex_property(const TextScanner& text, Property& property, std::string_view name, Mesh& mesh) {
  const std::pair<std::string_view, Buffer<double>*> numbers[] = {{"x", &mesh.x},   {"y", &mesh.y},   {"z", &mesh.z},
                                                                  {"nx", &mesh.nx}, {"ny", &mesh.ny}, {"nz", &mesh.nz}};
  const std::pair<std::string_view, Buffer<float>*> levels[] = {
      {"red", &mesh.red}, {"green", &mesh.green}, {"blue", &mesh.blue}};
  for (const auto& [known, target] : numbers)
    if (name == known) property.numbers = target;
  for (const auto& [known, target] : levels)
    if (name == known) property.levels = target;
  if (property.levels && !is_real(property.type)) mesh.color_scale = property.type == Type::UInt16 ? 1 / 257.0f : 1.0f;
  if ((property.numbers || property.levels) && property.count_type)
    text.fail_here("the vertex property " + quoted(name) + " is a list");
}

void parse_property(TextScanner& text, Element& element, Mesh& mesh) {
  Property property;
  std::string_view word = text.word();
  if (word == "list") {
    property.count_type = parse_type(text, text.word());
    if (is_real(*property.count_type)) text.fail_here("a list is counted by integers");
    word = text.word();
  }
  property.type = parse_type(text, word);
  const std::string_view name = text.word();
  if (name.empty()) text.fail_here("a property has no name");
  if (element.name == "vertex") connect_vertex_property(text, property, name, mesh);
  if (element.name == "face" && property.count_type) {
    property.corners = name == "vertex_indices" || name == "vertex_index";
    if (property.corners && is_real(property.type)) text.fail_here("points are numbered by integers");
  }
  element.properties.push_back(property);
}

Encoding parse_format(TextScanner& text) {
  const std::string_view word = text.word();
  if (word == "ascii") return Encoding::Text;
  if (word == "binary_little_endian") return Encoding::LittleEndian;
  if (word == "binary_big_endian") return Encoding::BigEndian;
  text.fail_here(quoted(word) + " is not a PLY format");
}

void parse_element(TextScanner& text, Header& header) {
  Element element;
  element.name = text.word();
  const Hlong count = text.integer();
  if (count < 0) text.fail_here("a negative count");
  element.count = static_cast<std::uint64_t>(count);
  header.elements.push_back(std::move(element));
}

// Leaves the scanner after the line "end_header".
Header parse_header(TextScanner& text, Mesh& mesh) {
  Header header;
  bool has_format = false;
  for (text.skip_line(); text.more(); text.skip_line()) {
    const std::string_view word = text.word();
    if (word == "end_header") {
      if (!has_format) text.fail_here("the header names no format");
      return header;
    }
    if (word == "format") {
      header.encoding = parse_format(text);
      has_format = true;
    } else if (word == "element") {
      parse_element(text, header);
    } else if (word == "property" && !header.elements.empty()) {
      parse_property(text, header.elements.back(), mesh);
    } else if (word != "comment" && word != "obj_info") {
      text.fail_here(quoted(word) + " is out of place in a PLY header");
    }
  }
  text.fail_here("the file ends inside the header");
}

void check_header(const Header& header, const Mesh& mesh) {
  const auto is_vertex = [](const Element& element) { return element.name == "vertex"; };
  const auto vertex = std::find_if(header.elements.begin(), header.elements.end(), is_vertex);
  if (vertex == header.elements.end()) fail("the header declares no element 'vertex'");
  if (std::count_if(vertex, header.elements.end(), is_vertex) > 1) fail("the header declares 'vertex' twice");
  const auto kept = [&](const void* target) {
    return std::count_if(vertex->properties.begin(), vertex->properties.end(), [=](const Property& property) {
      return property.numbers == target || property.levels == target;
    });
  };
  if (!kept(&mesh.x) || !kept(&mesh.y) || !kept(&mesh.z)) fail("the vertices have no x, y and z");
  for (const Property& property : vertex->properties)
    if ((property.numbers && kept(property.numbers) > 1) || (property.levels && kept(property.levels) > 1))
      fail("the header declares a property of 'vertex' twice");
}

class TextValues {
 public:
  explicit TextValues(TextScanner& text) noexcept : text_(text) {}
  static constexpr bool is_binary = false;
  // A number takes at least a digit and a separator.
  static constexpr std::size_t least_bytes(Type) noexcept { return 2; }
  std::size_t left() const noexcept { return text_.left(); }
  void begin_row() {
    if (!text_.more()) text_.fail_here("the file ends before its last element");
  }
  double value(Type) { return text_.number(); }
  void end_row() noexcept { text_.skip_line(); }

 private:
  TextScanner& text_;
};

template <std::endian order>
class BinaryValues {
 public:
  explicit BinaryValues(Bytes values) noexcept : at_(values.data()), end_(values.data() + values.size()) {}
  static constexpr bool is_binary = true;
  static constexpr std::size_t least_bytes(Type type) noexcept { return type_size(type); }
  std::size_t left() const noexcept { return static_cast<std::size_t>(end_ - at_); }
  void begin_row() noexcept {}
  double value(Type type) {
    const std::size_t size = type_size(type);
    if (left() < size) fail("the file ends before its last element");
    return convert(std::exchange(at_, at_ + size), type);
  }
  void end_row() noexcept {}

 private:
  static double convert(const std::byte* from, Type type) noexcept {
    switch (type) {
      case Type::Int8:
        return stored_value<std::int8_t, order>(from);
      case Type::UInt8:
        return stored_value<std::uint8_t, order>(from);
      case Type::Int16:
        return stored_value<std::int16_t, order>(from);
      case Type::UInt16:
        return stored_value<std::uint16_t, order>(from);
      case Type::Int32:
        return stored_value<std::int32_t, order>(from);
      case Type::UInt32:
        return stored_value<std::uint32_t, order>(from);
      case Type::Float:
        return stored_value<float, order>(from);
      case Type::Double:
        break;
    }
    return stored_value<double, order>(from);
  }

  const std::byte* at_;
  const std::byte* end_;
};

template <class Values>
void read_list(Values& values, const Property& property, Mesh& mesh) {
  double count = values.value(*property.count_type);
  // A negative count comes from a program that declares a signed type but writes the unsigned one.
  if (count < 0 && Values::is_binary) count += std::ldexp(1.0, static_cast<int>(8 * type_size(*property.count_type)));
  if (!(count >= 0 &&
        count * static_cast<double>(Values::least_bytes(property.type)) <= static_cast<double>(values.left() + 1)))
    fail("a list declares more elements than the file holds");
  for (double i = 0; i < count; ++i) {
    const double value = values.value(property.type);
    if (property.corners) mesh.add_corner(value);
  }
  if (property.corners) mesh.end_face();
}

template <class Values>
void prepare_element(const Values& values, const Element& element) {
  std::uint64_t row = 0;
  for (const Property& property : element.properties)
    row += Values::least_bytes(property.count_type.value_or(property.type));
  check_count("elements " + quoted(element.name), element.count, row, values.left());
  for (const Property& property : element.properties) {
    if (property.numbers) property.numbers->reserve(static_cast<std::size_t>(element.count));
    if (property.levels) property.levels->reserve(static_cast<std::size_t>(element.count));
  }
}

template <class Values>
void read_element(Values& values, const Element& element, Mesh& mesh) {
  prepare_element(values, element);
  for (std::uint64_t row = 0; row < element.count && !element.properties.empty(); ++row) {
    values.begin_row();
    for (const Property& property : element.properties) {
      if (property.count_type) {
        read_list(values, property, mesh);
        continue;
      }
      const double value = values.value(property.type);
      if (property.numbers) property.numbers->push_back(value);
      if (property.levels) property.levels->push_back(static_cast<float>(value));
    }
    values.end_row();
  }
}

template <class Values>
Model3dParts read_elements(Values values, const Header& header, Mesh& mesh) {
  for (const Element& element : header.elements) read_element(values, element, mesh);
  return mesh.finish();
}

// What follows the line of "end_header"; that line ends at LF or CR LF, or CR alone.
Bytes values_after_header(Bytes file, TextScanner& text) {
  if (text.more_on_line()) text.fail_here("the line of end_header does not end");
  auto at = static_cast<std::size_t>(text.at() - text_of(file).data());
  if (text_of(file).substr(at).starts_with('\r')) ++at;
  if (text_of(file).substr(at).starts_with('\n')) ++at;
  return file.subspan(at);
}

bool recognizes_ply(Bytes file, std::string_view) {
  return text_of(file).starts_with("ply\n") || text_of(file).starts_with("ply\r");
}

Model3dParts read_ply(Bytes file) {
  Mesh mesh;
  TextScanner text(file);
  const Header header = parse_header(text, mesh);
  check_header(header, mesh);
  if (header.encoding == Encoding::Text) {
    text.skip_line();
    return read_elements(TextValues(text), header, mesh);
  }
  const Bytes values = values_after_header(file, text);
  if (header.encoding == Encoding::LittleEndian)
    return read_elements(BinaryValues<std::endian::little>(values), header, mesh);
  return read_elements(BinaryValues<std::endian::big>(values), header, mesh);
}

}  // namespace

const MeshReader ply_reader{"PLY", recognizes_ply, read_ply};

}  // namespace HalconCpp::detail
