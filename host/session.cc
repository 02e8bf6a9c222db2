#include "session.h"

#include <charconv>
#include <utility>

namespace host {

namespace {

constexpr char32_t replacement = 0xFFFD;

void append_utf8(std::string& text, char32_t c) {
  const auto more = [&](int shift) { text += static_cast<char>(0x80 | (c >> shift & 0x3F)); };
  if (c < 0x80) {
    text += static_cast<char>(c);
  } else if (c < 0x800) {
    text += static_cast<char>(0xC0 | c >> 6);
    more(0);
  } else if (c < 0x10000) {
    text += static_cast<char>(0xE0 | c >> 12);
    more(6), more(0);
  } else {
    text += static_cast<char>(0xF0 | c >> 18);
    more(12), more(6), more(0);
  }
}

void append_utf16(std::u16string& text, char32_t c) {
  if (c >= 0x10000) {
    text += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
    c = 0xDC00 + (c & 0x3FF);
  }
  text += static_cast<char16_t>(c);
}

std::string lower_extension(std::string_view path) {
  const std::size_t dot = path.find_last_of("./\\");
  if (dot == path.npos || path[dot] != '.') return {};
  std::string extension(path.substr(dot + 1));
  for (char& c : extension)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  return extension;
}

// What a reading option's text is: an integer, a real, or the text itself.
struct ParsedValue {
  qv_parse_option option{};
  std::u16string text;
};

template <class Number>
bool parse_whole(const std::string& text, Number& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

ParsedValue parse_value(const ReadingOption& option) {
  ParsedValue value;
  value.option.key = option.key;
  if (parse_whole(option.value, value.option.int_value)) {
    value.option.value_type = QV_VALUE_INTEGER;
  } else if (parse_whole(option.value, value.option.real_value)) {
    value.option.value_type = QV_VALUE_REAL;
  } else {
    value.option.value_type = QV_VALUE_STRING;
    value.text = to_utf16(option.value);
  }
  return value;
}

const qv_node* parse_dict(qv_reader* reader, const qv_char* path, const std::vector<ReadingOption>& options) {
  std::vector<ParsedValue> values;
  for (const ReadingOption& option : options) values.push_back(parse_value(option));
  std::vector<qv_parse_option> records;
  for (ParsedValue& value : values) {
    value.option.string_value = units(value.text);
    records.push_back(value.option);
  }
  return qv_reader_parse_file_with_options(reader, path, records.data(), static_cast<int32_t>(records.size()));
}

// "~1" and "~0" of a segment read as '/' and '~'.
std::string unescape(std::string_view segment) {
  std::string text;
  for (std::size_t i = 0; i < segment.size(); ++i) {
    const bool escape = segment[i] == '~' && i + 1 < segment.size() && (segment[i + 1] == '0' || segment[i + 1] == '1');
    text += escape ? (segment[++i] == '0' ? '~' : '/') : segment[i];
  }
  return text;
}

const qv_node* find_child(const qv_node* parent, const std::string& segment) {
  uint32_t index = 0;
  const bool is_number = parse_whole(segment, index);
  for (int32_t i = 0; i < qv_node_child_count(parent); ++i) {
    const qv_node* child = qv_node_child_at(parent, i);
    const bool by_index = qv_node_path_segment_kind(child) == QV_PATH_INDEX;
    if (by_index ? is_number && qv_node_path_index(child) == index : to_utf8(qv_node_label(child)) == segment)
      return child;
  }
  return nullptr;
}

}  // namespace

std::string to_utf8(const qv_char* text) {
  std::string result;
  for (; *text; ++text) {
    char32_t c = static_cast<char16_t>(*text);
    if (c >= 0xD800 && c < 0xE000) {
      const char32_t low = static_cast<char16_t>(text[1]);
      const bool pair = c < 0xDC00 && low >= 0xDC00 && low < 0xE000;
      c = pair ? 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00) : replacement;
      if (pair) ++text;
    }
    append_utf8(result, c);
  }
  return result;
}

std::u16string to_utf16(std::string_view utf8) {
  std::u16string text;
  for (std::size_t i = 0; i < utf8.size();) {
    const auto first = static_cast<unsigned char>(utf8[i++]);
    int more = first < 0x80 ? 0 : first < 0xC2 ? -1 : first < 0xE0 ? 1 : first < 0xF0 ? 2 : first < 0xF5 ? 3 : -1;
    if (more < 0) {
      append_utf16(text, replacement);
      continue;
    }
    char32_t c = more == 0 ? first : first & (0x3Fu >> more);
    for (; more > 0 && i < utf8.size() && (utf8[i] & 0xC0) == 0x80; --more) c = c << 6 | (utf8[i++] & 0x3Fu);
    append_utf16(text, more == 0 && c <= 0x10FFFF ? c : replacement);
  }
  return text;
}

FileKind kind_of_file(std::string_view path) {
  static constexpr std::pair<std::string_view, FileKind> kinds[] = {
      {"json", FileKind::Dict},   {"hdict", FileKind::Dict},   {"ply", FileKind::Model3d},
      {"obj", FileKind::Model3d}, {"stl", FileKind::Model3d},  {"off", FileKind::Model3d},
      {"om3", FileKind::Model3d}, {"onnx", FileKind::DlModel}, {"hdl", FileKind::DlModel},
  };
  const std::string extension = lower_extension(path);
  for (const auto& [known, kind] : kinds)
    if (extension == known) return kind;
  return FileKind::Object;
}

Session::Session() : reader_(qv_reader_create()) {
  if (!reader_) throw Failure("out of memory");
}

const qv_node* Session::open(const std::string& path, FileKind kind, const std::vector<ReadingOption>& options) {
  path_ = path;
  const std::u16string file = to_utf16(path);
  const qv_node* root = nullptr;
  switch (kind) {
    case FileKind::Dict:
      root = parse_dict(reader(), units(file), options);
      break;
    case FileKind::Object:
      root = qv_reader_parse_object_file(reader(), units(file));
      break;
    case FileKind::Model3d:
      root = qv_reader_parse_object_model_3d_file(reader(), units(file));
      break;
    case FileKind::DlModel:
      root = qv_reader_parse_dl_model_file(reader(), units(file));
      break;
  }
  if (!root) fail("'" + path + "' could not be opened: out of memory");
  return root;
}

void Session::fail(const std::string& otherwise) const {
  const std::string reason = last_error();
  throw Failure(reason.empty() ? otherwise : reason);
}

const qv_node* find_node(const qv_node* root, const std::string& place) {
  const qv_node* node = root;
  std::string_view rest = place;
  if (!rest.empty() && rest.front() == '/') rest.remove_prefix(1);
  while (!rest.empty()) {
    const std::size_t end = rest.find('/');
    const std::string segment = unescape(rest.substr(0, end));
    node = find_child(node, segment);
    if (!node) throw Failure("there is no node '" + segment + "' at '" + place + "'");
    rest = end == rest.npos ? std::string_view() : rest.substr(end + 1);
  }
  return node;
}

std::string place_segment(const qv_node* node) {
  if (qv_node_path_segment_kind(node) == QV_PATH_INDEX) return std::to_string(qv_node_path_index(node));
  std::string segment;
  for (const char c : to_utf8(qv_node_label(node))) segment += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
  return segment;
}

}  // namespace host
