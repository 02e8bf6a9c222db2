#include "model_files.h"

#include <cstdint>
#include <initializer_list>

namespace samples {

namespace {

struct Corner {
  int x, y, z, red, green, blue;
};
constexpr Corner corners[] = {{0, 0, 0, 40, 40, 40},    {1, 0, 0, 230, 60, 60}, {1, 1, 0, 230, 210, 60},
                              {0, 1, 0, 60, 200, 80},   {0, 0, 1, 60, 90, 230}, {1, 0, 1, 210, 80, 220},
                              {1, 1, 1, 240, 240, 240}, {0, 1, 1, 70, 210, 220}};
struct Triangle {
  int a, b, c;
};
constexpr Triangle triangles[] = {{0, 2, 1}, {0, 3, 2}, {4, 5, 6}, {4, 6, 7}, {0, 1, 5}, {0, 5, 4},
                                  {2, 3, 7}, {2, 7, 6}, {1, 2, 6}, {1, 6, 5}, {0, 4, 7}, {0, 7, 3}};

// The numbers on one line, after `word`.
std::string line(const std::string& word, std::initializer_list<int> numbers) {
  std::string text = word;
  for (const int number : numbers) text += (text.empty() ? "" : " ") + std::to_string(number);
  return text + "\n";
}

// Protocol buffers: numbers and messages (or texts) by field.
std::string varint(std::uint64_t value) {
  std::string bytes;
  for (; value >= 128; value >>= 7) bytes += static_cast<char>(value | 128);
  return bytes + static_cast<char>(value);
}
std::string number(unsigned field, std::uint64_t value) { return varint(field << 3) + varint(value); }
std::string message(unsigned field, const std::string& bytes) {
  return varint(field << 3 | 2) + varint(bytes.size()) + bytes;
}

constexpr std::uint64_t element_float = 1;

// A named input or output of the network.
std::string tensor(const std::string& name, std::initializer_list<std::uint64_t> shape) {
  std::string sizes;
  for (const std::uint64_t size : shape) sizes += message(1, number(1, size));
  return message(1, name) + message(2, message(1, number(1, element_float) + message(2, sizes)));
}

std::string layer(const std::string& type, std::initializer_list<const char*> inputs, const std::string& output,
                  const std::string& attributes = "") {
  std::string names;
  for (const char* input : inputs) names += message(1, input);
  return message(1, names + message(2, output) + message(3, output) + message(4, type) + attributes);
}

std::string integers(const std::string& name, std::initializer_list<std::uint64_t> values) {
  std::string list;
  for (const std::uint64_t value : values) list += number(8, value);
  return message(5, message(1, name) + list + number(20, 7));
}

std::string weights(const std::string& name, std::initializer_list<std::uint64_t> shape) {
  std::string sizes, values;
  std::uint64_t count = 1;
  for (const std::uint64_t size : shape) sizes += number(1, size), count *= size;
  values.assign(count * 4, '\0');
  return message(5, sizes + number(2, element_float) + message(8, name) + message(9, values));
}

}  // namespace

std::string cube_ply() {
  std::string text =
      "ply\nformat ascii 1.0\nelement vertex 8\nproperty float x\nproperty float y\nproperty float z\n"
      "property uchar red\nproperty uchar green\nproperty uchar blue\nelement face 12\n"
      "property list uchar int vertex_indices\nend_header\n";
  for (const Corner& at : corners) text += line("", {at.x, at.y, at.z, at.red, at.green, at.blue});
  for (const Triangle& of : triangles) text += line("3", {of.a, of.b, of.c});
  return text;
}

std::string cube_obj() {
  std::string text;
  for (const Corner& at : corners) text += line("v", {at.x, at.y, at.z});
  for (const Triangle& of : triangles) text += line("f", {of.a + 1, of.b + 1, of.c + 1});  // they count from 1
  return text;
}

std::string cube_off() {
  std::string text = "OFF\n8 12 0\n";
  for (const Corner& at : corners) text += line("", {at.x, at.y, at.z});
  for (const Triangle& of : triangles) text += line("3", {of.a, of.b, of.c});
  return text;
}

std::string cube_stl() {
  std::string text = "solid cube\n";
  for (const Triangle& of : triangles) {
    text += "facet normal 0 0 0\nouter loop\n";  // a reader takes the normal from the corners
    for (const int corner : {of.a, of.b, of.c})
      text += line("vertex", {corners[corner].x, corners[corner].y, corners[corner].z});
    text += "endloop\nendfacet\n";
  }
  return text + "endsolid cube\n";
}

std::string network_onnx() {
  const std::string kernel = integers("kernel_shape", {3, 3}) + integers("pads", {1, 1, 1, 1});
  const std::string graph =
      layer("Conv", {"image", "filters"}, "features", kernel) + layer("Relu", {"features"}, "active") +
      layer("Conv", {"active", "edges"}, "details", kernel) + layer("Conv", {"active", "shades"}, "areas") +
      layer("Add", {"details", "areas"}, "both") + layer("Concat", {"both", "active"}, "joined") +
      layer("GlobalAveragePool", {"joined"}, "pooled") + layer("Softmax", {"pooled"}, "classes") + message(2, "coins") +
      weights("filters", {4, 3, 3, 3}) + weights("edges", {4, 4, 3, 3}) + weights("shades", {4, 4, 1, 1}) +
      message(11, tensor("image", {1, 3, 224, 224})) + message(12, tensor("classes", {1, 8, 1, 1})) +
      message(13, tensor("features", {1, 4, 224, 224})) + message(13, tensor("joined", {1, 8, 224, 224}));
  const std::string operator_set = message(8, message(1, "") + number(2, 13));
  return number(1, 8) + message(2, "make_samples") + message(7, graph) + operator_set;
}

}  // namespace samples
