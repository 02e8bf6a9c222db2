#include "support/host.h"

#include <cstddef>
#include <filesystem>
#include <sstream>
#include <utility>

#include "support/files.h"

namespace test {

namespace {

void dump_values(std::ostringstream& out, const qv_node* node) {
  for (int32_t i = 0; i < qv_node_value_count(node); ++i)
    out << " v" << qv_node_value_type_at(node, i) << "=" << narrow(qv_node_value_string_at(node, i)) << "|"
        << qv_node_value_int_at(node, i) << "|" << qv_node_value_real_at(node, i);
}

void dump_node(std::ostringstream& out, const qv_node* node, int depth) {
  out << std::string(static_cast<std::size_t>(depth) * 2, ' ') << qv_node_kind(node) << " "
      << qv_node_path_segment_kind(node) << "/" << qv_node_path_index(node) << " '" << label(node) << "' <"
      << type(node) << "> " << summary(node) << " n=" << qv_node_total_count(node) << " t=" << qv_node_truncated(node)
      << " " << narrow(qv_node_object_class(node)) << " i=" << qv_node_is_image(node)
      << " o=" << qv_node_object_count(node) << " d=" << qv_node_detail_entry_count(node);
  dump_values(out, node);
  out << "\n";
  for (const std::string& line : details(node))
    out << std::string(static_cast<std::size_t>(depth) * 2, ' ') << "- " << line << "\n";
}

}  // namespace

std::u16string wide(std::string_view utf8) { return native(utf8).u16string(); }

std::string narrow(const qv_char* text) {
  const std::u8string utf8 = std::filesystem::path(reinterpret_cast<const char16_t*>(text)).u8string();
  return {utf8.begin(), utf8.end()};
}

std::vector<std::string> details(const qv_node* node) {
  std::vector<std::string> lines;
  for (int32_t i = 0; i < qv_node_detail_line_count(node); ++i)
    lines.push_back(narrow(qv_node_detail_line_at(node, i)));
  return lines;
}

std::vector<const qv_node*> children(const qv_node* node) {
  std::vector<const qv_node*> result;
  for (int32_t i = 0; i < qv_node_child_count(node); ++i) result.push_back(qv_node_child_at(node, i));
  return result;
}

const qv_node* child(const qv_node* node, std::string_view wanted) {
  for (const qv_node* candidate : children(node))
    if (label(candidate) == wanted) return candidate;
  return nullptr;
}

std::string dump(const qv_node* root) {
  std::ostringstream out;
  std::vector<std::pair<const qv_node*, int>> waiting{{root, 0}};
  while (!waiting.empty()) {
    const auto [node, depth] = waiting.back();
    waiting.pop_back();
    dump_node(out, node, depth);
    const auto below = children(node);
    for (auto it = below.rbegin(); it != below.rend(); ++it) waiting.emplace_back(*it, depth + 1);
  }
  return out.str();
}

const qv_node* Reader::parse(FileKind kind, std::string_view path) const {
  const std::u16string file = wide(path);
  switch (kind) {
    case FileKind::Dict:
      return qv_reader_parse_file(reader_, units(file));
    case FileKind::Object:
      return qv_reader_parse_object_file(reader_, units(file));
    case FileKind::Model3d:
      return qv_reader_parse_object_model_3d_file(reader_, units(file));
    case FileKind::DlModel:
      return qv_reader_parse_dl_model_file(reader_, units(file));
  }
  return nullptr;
}

bool Reader::save(const qv_node* node, std::string_view path) const {
  return qv_save_object_as(reader_, node, units(wide(path))) == 1;
}

std::string extract_everything(const Reader& reader, const qv_node* node, int32_t index) {
  std::ostringstream out;
  const auto report = [&](const char* call, int32_t result) {
    out << call << "=" << result << " '" << reader.error() << "'\n";
  };
  uint32_t width = 0, height = 0, stride = 0, format = 0, count = 0, count2 = 0;
  uint8_t* pixels = nullptr;
  double *rows = nullptr, *cols = nullptr, *rows2 = nullptr, *cols2 = nullptr;
  int32_t *run_rows = nullptr, *begins = nullptr, *ends = nullptr;
  const auto free_points = [&] {
    for (double* buffer : {rows, cols, rows2, cols2}) qv_free_double_buffer(buffer);
    rows = cols = rows2 = cols2 = nullptr;
  };
  report("channels", qv_node_image_channel_count(reader, node, index));
  report("image", qv_extract_image(reader, node, index, &width, &height, &stride, &format, &pixels));
  qv_free_buffer(pixels);
  report("contour", qv_extract_contour_points(reader, node, index, &rows, &cols, &count));
  free_points();
  report("polygon", qv_extract_polygon_points(reader, node, index, &rows, &cols, &count));
  free_points();
  report("parallels", qv_extract_parallel_lines(reader, node, index, &rows, &cols, &count, &rows2, &cols2, &count2));
  free_points();
  report("runs", qv_extract_region_runs(reader, node, index, &run_rows, &begins, &ends, &count));
  for (int32_t* buffer : {run_rows, begins, ends}) qv_free_int_buffer(buffer);
  return out.str();
}

}  // namespace test
