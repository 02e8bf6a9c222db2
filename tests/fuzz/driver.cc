#include "driver.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "support/files.h"

namespace fuzz {

namespace {

// Images with more pixels than this are opened and described, but not drawn: drawing costs time and finds nothing new.
constexpr long long max_pixels = 1 << 20;

const test::TempDir& folder() {
  static const test::TempDir made;
  return made;
}

bool is_small(const qv_node* node) {
  const std::string text = test::summary(node);
  long long width = 0, height = 0;
  return std::sscanf(text.c_str(), "%lldx%lld", &width, &height) != 2 || width * height <= max_pixels;
}

void check_node(const qv_node* node) {
  require(qv_node_kind(node) <= QV_NODE_OBJECT && qv_node_path_segment_kind(node) <= QV_PATH_INDEX, "known kinds");
  require(qv_node_value_count(node) <= 1000, "at most 1000 values are kept");
  const auto total = static_cast<int64_t>(qv_node_total_count(node));
  require(!qv_node_truncated(node) || qv_node_value_count(node) < total, "truncated means that values are missing");
  require(!qv_node_child_at(node, static_cast<int32_t>(qv_node_child_count(node))), "no child after the last");
  const std::string once = reader().full(node), error = reader().error();
  require(once == reader().full(node) && error == reader().error(), "a full text stays, and leaves the error alone");
}

// Written objects read back as the same objects.
void save(const qv_node* node) {
  for (const char* name :
       {"saved.hobj", "saved.dxf", "saved.png", "saved.tif", "saved.bmp", "saved.jp2", "saved.pgm"}) {
    const bool saved = reader().save(node, in_folder(name));
    require(saved == reader().error().empty() || qv_node_kind(node) != QV_NODE_OBJECT, "a failed save tells why");
    if (!saved || name != std::string_view("saved.hobj")) continue;
    const test::Reader other;
    const qv_node* again = other.objects(in_folder(name));
    require(again && qv_node_child_count(again) == qv_node_object_count(node), "saved objects open again");
  }
}

// Depth first, without recursion: trees may be deep.
std::vector<const qv_node*> all_below(const qv_node* root) {
  std::vector<const qv_node*> found{root};
  for (std::size_t i = 0; i < found.size(); ++i)
    for (const qv_node* child : test::children(found[i])) found.push_back(child);
  return found;
}

void check_same_tree(const std::string& expected, const std::string& path) {
  const test::Reader other;
  const qv_node* root = other.dict(path);
  const std::string found = root ? test::dump(root) : other.error();
  if (found == expected) return;
  std::fprintf(stderr, "expected:\n%s\nfound:\n%s\n", expected.c_str(), found.c_str());
  require(false, "a converted dictionary shows the same tree");
}

}  // namespace

void require(bool kept, const char* promise) {
  if (kept) return;
  std::fprintf(stderr, "broken promise: %s\n", promise);
  std::abort();
}

std::string in_folder(std::string_view name) { return folder() / name; }

std::string put(std::string_view name, std::string_view content) {
  const std::string path = in_folder(name);
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  const bool written =
      file >= 0 && ::write(file, content.data(), content.size()) == static_cast<ssize_t>(content.size());
  if (file >= 0) ::close(file);
  if (!written) std::perror(path.c_str());
  require(written, "the target's own folder can be written");
  return path;
}

Choice choose(std::string_view input) {
  if (input.empty()) return {};
  return {input.substr(0, input.size() - 1), static_cast<std::uint8_t>(input.back())};
}

const test::Reader& reader() {
  static const test::Reader made;
  return made;
}

void use(const qv_node* root) {
  require((root != nullptr) == reader().error().empty(), "a parse gives a tree or tells why not");
  if (!root) return;
  require(!test::dump(root).empty(), "a tree can be walked");
  int saved = 0;
  for (const qv_node* node : all_below(root)) {
    check_node(node);
    const auto objects = static_cast<int32_t>(qv_node_object_count(node));
    if (qv_node_kind(node) != QV_NODE_OBJECT || !is_small(node)) continue;
    for (const int32_t index : {0, objects - 1, objects}) test::extract_everything(reader(), node, index);
    if (saved++ < 3) save(node);
  }
}

void use_dict(const qv_node* root, const std::string& path, bool with_options) {
  use(root);
  const std::u16string from = test::wide(path);
  for (const char* name : {"converted.hdict", "converted.json"}) {
    const std::string target = in_folder(name);
    const bool lenient = qv_reader_convert_dict_file(reader(), test::units(from), test::units(test::wide(target)), 1);
    require(lenient == (root != nullptr) || with_options, "what opens can be converted");
    const bool strict = qv_reader_convert_dict_file(reader(), test::units(from), test::units(test::wide(target)), 0);
    require(strict == reader().error().empty(), "a failed conversion tells why");
    const bool comparable = name == std::string_view("converted.hdict") || path.ends_with(".json");
    if (strict && root && !with_options && comparable) check_same_tree(test::dump(root), target);
  }
}

}  // namespace fuzz
