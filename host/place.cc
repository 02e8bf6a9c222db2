#include "place.h"

#include <charconv>
#include <string_view>

#include "session.h"

namespace host {

namespace {

// "~1" and "~0" of a segment read as '/' and '~'; "~" alone is the empty key.
std::string unescape(std::string_view segment) {
  if (segment == "~") return {};
  std::string text;
  for (std::size_t i = 0; i < segment.size(); ++i) {
    const bool escape = segment[i] == '~' && i + 1 < segment.size() && (segment[i + 1] == '0' || segment[i + 1] == '1');
    text += escape ? (segment[++i] == '0' ? '~' : '/') : segment[i];
  }
  return text;
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
  if (qv_node_path_segment_kind(node) == QV_PATH_INDEX) return std::to_string(qv_node_path_index(node));
  std::string segment;
  for (const char c : to_utf8(qv_node_label(node))) segment += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
  return segment.empty() ? "~" : segment;
}

std::string place_of(const std::vector<Step>& steps) {
  std::string text;
  for (std::size_t i = 1; i < steps.size(); ++i) text += "/" + place_segment(steps[i].node);
  return text.empty() ? "/" : text;
}

}  // namespace host
