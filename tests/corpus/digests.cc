// qv_digests: reads file names, one per line, and prints one line for each: a digest of all that its tree and its
// objects hold, or the error's text. Two builds that print the same lines read the same from these files.
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "support/host.h"

namespace {

// 64-bit FNV-1a.
class Digest {
 public:
  void add(const void* data, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (std::size_t i = 0; i < size; ++i) value_ = (value_ ^ bytes[i]) * 0x100000001b3;
  }
  void add(std::string_view text) { add(text.data(), text.size()); }
  std::uint64_t value() const { return value_; }

 private:
  std::uint64_t value_ = 0xcbf29ce484222325;
};

struct Totals {
  std::size_t nodes = 0, images = 0;
};

void add_pixels(Digest& digest, const test::Reader& reader, const qv_node* node, int32_t index) {
  uint32_t width = 0, height = 0, stride = 0, format = 0;
  uint8_t* pixels = nullptr;
  if (qv_extract_image(reader, node, index, &width, &height, &stride, &format, &pixels) != 1) return;
  const std::size_t bytes_per_pixel = format == QV_PIXELS_GRAY8 ? 1 : format == QV_PIXELS_BGR24 ? 3 : 4;
  for (uint32_t row = 0; row < height; ++row) digest.add(pixels + std::size_t{row} * stride, width * bytes_per_pixel);
  qv_free_buffer(pixels);
}

void add_node(Digest& digest, Totals& totals, const test::Reader& reader, const qv_node* node) {
  ++totals.nodes;
  digest.add(reader.full(node));
  if (qv_node_kind(node) == QV_NODE_OBJECT) {
    for (uint32_t i = 0; i < qv_node_object_count(node); ++i) {
      digest.add(test::extract_everything(reader, node, static_cast<int32_t>(i)));
      add_pixels(digest, reader, node, static_cast<int32_t>(i));
    }
    totals.images += qv_node_is_image(node) == 1;
  }
  for (const qv_node* child : test::children(node)) add_node(digest, totals, reader, child);
}

bool ends_with(std::string_view name, std::string_view end) {
  return name.size() >= end.size() && name.substr(name.size() - end.size()) == end;
}

test::FileKind kind_of(std::string_view name) {
  for (const char* end : {".json", ".hdict"})
    if (ends_with(name, end)) return test::FileKind::Dict;
  for (const char* end : {".ply", ".obj", ".stl", ".off", ".om3"})
    if (ends_with(name, end)) return test::FileKind::Model3d;
  for (const char* end : {".onnx", ".hdl"})
    if (ends_with(name, end)) return test::FileKind::DlModel;
  return test::FileKind::Object;
}

void print(const std::string& name) {
  const test::Reader reader;
  const qv_node* root = reader.parse(kind_of(name), name);
  if (!root) {
    std::printf("%s\tfailed: %s\n", name.c_str(), reader.error().c_str());
    return;
  }
  Digest digest;
  Totals totals;
  digest.add(test::dump(root));
  add_node(digest, totals, reader, root);
  std::printf("%s\t%zu nodes\t%zu images\t%016llx\n", name.c_str(), totals.nodes, totals.images,
              static_cast<unsigned long long>(digest.value()));
}

}  // namespace

int main() {
  std::string name;
  while (std::getline(std::cin, name)) {
    if (!name.empty() && name.back() == '\r') name.pop_back();
    print(name);
  }
  return std::cout.flush() && std::fflush(stdout) == 0 ? 0 : 1;
}
