#include "session.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <iterator>
#include <system_error>
#include <utility>

#include "files.h"
#include "unicode.h"

namespace host {

namespace {

constexpr std::pair<std::string_view, FileKind> kinds[] = {
    {"json", FileKind::Dict},   {"hdict", FileKind::Dict},   {"ply", FileKind::Model3d},
    {"obj", FileKind::Model3d}, {"stl", FileKind::Model3d},  {"off", FileKind::Model3d},
    {"om3", FileKind::Model3d}, {"onnx", FileKind::DlModel}, {"hdl", FileKind::DlModel},
};
constexpr std::string_view iconic[] = {"hobj", "seq", "png", "jpg", "jpeg", "tif", "tiff", "jp2", "j2k", "bmp", "gif",
                                       "pcx",  "ras", "xwd", "pnm", "pbm",  "pgm", "ppm",  "jxr", "wdp", "hdp"};

// The value of a reading option: an integer, a real or, if it is neither, a text.
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

}  // namespace

char32_t next_character(const qv_char*& text) {
  return unicode::next_character(text, text + (text[1] != 0 ? 2 : 1));  // a pair at most
}

void append_utf8(std::string& result, const qv_char* text) {
  while (*text) {
    const qv_char* end = text;
    while (*end && *end < 0x80) ++end;
    const std::size_t before = result.size();
    result.resize(before + static_cast<std::size_t>(end - text));
    std::transform(text, end, result.data() + before, [](qv_char c) { return static_cast<char>(c); });
    for (text = end; *text >= 0x80;) unicode::append_utf8(result, next_character(text));
  }
}

std::string to_utf8(const qv_char* text) {
  std::string result;
  append_utf8(result, text);
  return result;
}

std::u16string to_utf16(std::string_view utf8) {
  std::u16string text(utf8.size(), u'\0');
  text.resize(unicode::to_units(utf8, text.data()));
  return text;
}

std::string_view kind_name(const qv_node* node) {
  static constexpr std::string_view names[] = {"dict", "array", "value", "object"};
  return names[qv_node_kind(node) & 3];
}

std::string extension_of(std::string_view path) {
  const std::size_t dot = path.find_last_of("./\\");
  if (dot == path.npos || path[dot] != '.') return {};
  std::string extension(path.substr(dot + 1));
  for (char& c : extension)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  return extension;
}

FileKind kind_of_file(std::string_view path) {
  const std::string extension = extension_of(path);
  for (const auto& [known, kind] : kinds)
    if (extension == known) return kind;
  return FileKind::Object;
}

bool has_known_extension(std::string_view path) {
  const std::string extension = extension_of(path);
  const auto is_it = [&](std::string_view known) { return extension == known; };
  return std::any_of(std::begin(iconic), std::end(iconic), is_it) ||
         std::any_of(std::begin(kinds), std::end(kinds), [&](const auto& known) { return is_it(known.first); });
}

Session::Session() : reader_(qv_reader_create()) {
  if (!reader_) throw Failure("out of memory");
}

const qv_node* Session::open(const std::string& path, FileKind kind, const std::vector<ReadingOption>& options) {
  path_ = path;
  version_ = version_of(path);
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

bool Session::file_is_unchanged() const { return version_of(path_) == version_; }

// A file that cannot be looked at has the same version each time.
Session::Version Session::version_of(const std::string& path) {
  std::error_code unknown;
  const std::filesystem::path file = native_path(path);
  return {std::filesystem::file_size(file, unknown), std::filesystem::last_write_time(file, unknown)};
}

void Session::fail(const std::string& otherwise) const {
  const std::string reason = last_error();
  throw Failure(reason.empty() ? otherwise : reason);
}

}  // namespace host
