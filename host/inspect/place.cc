#include "place.h"

#include <charconv>
#include <cstdint>
#include <iterator>
#include <system_error>

#include "session.h"

namespace host {

namespace {

// Replaces "~1" and "~0" by '/' and '~'; "~" alone is the empty key.
std::string unescape(std::string_view segment) {
  if (segment == "~") return {};
  std::string text;
  for (std::size_t i = 0; i < segment.size(); ++i) {
    const bool escape = segment[i] == '~' && i + 1 < segment.size() && (segment[i + 1] == '0' || segment[i + 1] == '1');
    text += escape ? (segment[++i] == '0' ? '~' : '/') : segment[i];
  }
  return text;
}

// The inverse, for the part of `text` from `begin`.
void escape(std::string& text, std::size_t begin) {
  const std::string key = text.substr(begin);
  text.resize(begin);
  for (const char c : key) text += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
}

const qv_node* find_child(const qv_node* parent, const std::string& segment) {
  uint32_t index = 0;
  const char* const end = segment.data() + segment.size();
  const auto [stop, error] = std::from_chars(segment.data(), end, index);
  const bool is_number = error == std::errc() && stop == end;
  for (int32_t i = 0; i < qv_node_child_count(parent); ++i) {
    const qv_node* child = qv_node_child_at(parent, i);
    const bool by_index = qv_node_path_segment_kind(child) == QV_PATH_INDEX;
    if (by_index ? is_number && qv_node_path_index(child) == index : to_utf8(qv_node_label(child)) == segment)
      return child;
  }
  return nullptr;
}

void append_segment(std::string& text, const qv_node* node) {
  if (qv_node_path_segment_kind(node) == QV_PATH_INDEX) {
    char digits[10];
    text.append(digits, std::to_chars(digits, std::end(digits), qv_node_path_index(node)).ptr);
    return;
  }
  const std::size_t begin = text.size();
  append_utf8(text, qv_node_label(node));
  if (text.size() == begin)
    text += '~';
  else if (text.find('~', begin) != text.npos || text.find('/', begin) != text.npos)
    escape(text, begin);
}

}  // namespace

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
  std::string segment;
  append_segment(segment, node);
  return segment;
}

std::string_view Place::of(const std::vector<Step>& steps) {
  ends_.resize(steps.size() - 1);
  text_.resize(ends_.empty() ? 0 : ends_.back());
  if (!ends_.empty()) {
    text_ += '/';
    append_segment(text_, steps.back().node);
  }
  ends_.push_back(text_.size());
  return text_.empty() ? "/" : std::string_view(text_);
}

}  // namespace host
