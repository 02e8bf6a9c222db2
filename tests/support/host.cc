#include "support/host.h"

#include <sstream>

namespace test {

namespace {

void append_utf8(std::string& out, char32_t c) {
  const int more = c < 0x80 ? 0 : c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
  constexpr char32_t marks[] = {0, 0xC0, 0xE0, 0xF0};
  out += static_cast<char>(marks[more] | c >> 6 * more);
  for (int i = more; i-- > 0;) out += static_cast<char>(0x80 | (c >> 6 * i & 0x3F));
}

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

std::u16string wide(std::string_view utf8) {
  std::u16string out;
  for (std::size_t i = 0; i < utf8.size();) {
    const auto first = static_cast<unsigned char>(utf8[i++]);
    int more = first < 0x80 ? 0 : first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
    char32_t c = more == 0 ? first : first & (0x3Fu >> more);
    for (; more > 0 && i < utf8.size(); --more) c = c << 6 | (static_cast<unsigned char>(utf8[i++]) & 0x3Fu);
    if (c >= 0x10000) {
      out += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
      c = 0xDC00 + (c & 0x3FF);
    }
    out += static_cast<char16_t>(c);
  }
  return out;
}

std::string narrow(const qv_char* text) {
  std::string out;
  for (; *text; ++text) {
    char32_t c = static_cast<char16_t>(*text);
    if (c >= 0xD800 && c < 0xDC00 && text[1])
      c = 0x10000 + ((c - 0xD800) << 10) + (static_cast<char16_t>(*++text) - 0xDC00u);
    append_utf8(out, c);
  }
  return out;
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
