#include "selection.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "walk.h"

namespace host {

namespace {

std::string lower(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  return text;
}

bool passes_filter(const qv_node* node, const std::string& filter) {
  const auto text = [](const qv_char* units) { return lower(to_utf8(units)); };
  return text(qv_node_label(node)).find(filter) != std::string::npos ||
         text(qv_node_type_label(node)).starts_with(filter) || filter == kind_name(node) ||
         (qv_node_kind(node) == QV_NODE_OBJECT && text(qv_node_object_class(node)) == filter);
}

// The text around a match, cut between two characters.
std::string around(const std::string& text, std::size_t place, std::size_t size) {
  constexpr std::size_t margin = 30;
  std::size_t begin = place > margin ? place - margin : 0, end = std::min(text.size(), place + size + margin);
  const auto inside = [&](std::size_t at) { return at < text.size() && (text[at] & 0xC0) == 0x80; };
  while (begin > 0 && inside(begin)) --begin;
  while (inside(end)) ++end;
  return (begin > 0 ? "… " : "") + text.substr(begin, end - begin) + (end < text.size() ? " …" : "");
}

// Whether `text` contains `wanted`; then sets `excerpt`.
bool finds_in(const std::string& text, const std::string& wanted, std::string& excerpt) {
  const std::size_t place = lower(text).find(wanted);
  if (place == std::string::npos) return false;
  excerpt = around(text, place, wanted.size());
  return true;
}

bool passes_grep(const Session& session, const qv_node* node, const std::string& grep, std::string& excerpt) {
  if (qv_node_kind(node) == QV_NODE_DICT || qv_node_kind(node) == QV_NODE_ARRAY) return false;
  if (lower(to_utf8(qv_node_value_summary(node))).find(grep) != std::string::npos) return true;
  if (finds_in(to_utf8(qv_node_full_value_text(session.reader(), node)), grep, excerpt)) return true;
  for (int32_t i = 0; i < qv_node_detail_line_count(node); ++i)
    if (finds_in(to_utf8(qv_node_detail_line_at(node, i)), grep, excerpt)) return true;
  return false;
}

}  // namespace

Selection::Selection(const Session& session, const qv_node* root, const Wanted& wanted)
    : everything_(wanted.everything()) {
  const Wanted low{lower(wanted.filter), lower(wanted.grep)};
  walk(root, [&](const std::vector<Step>& steps) {
    ++nodes_;
    if (everything_ || !finds(session, steps.back().node, low)) return true;
    ++found_;
    for (std::size_t i = steps.size() - 1; i > 0 && shown_.try_emplace(steps[i - 1].node).second;) --i;
    return true;
  });
  if (everything_) found_ = nodes_;
}

bool Selection::finds(const Session& session, const qv_node* node, const Wanted& wanted) {
  std::string excerpt;
  if (!wanted.filter.empty() && !passes_filter(node, wanted.filter)) return false;
  if (!wanted.grep.empty() && !passes_grep(session, node, wanted.grep, excerpt)) return false;
  shown_[node] = {true, excerpt};
  return true;
}

bool Selection::found(const qv_node* node) const {
  if (everything_) return true;
  const auto entry = shown_.find(node);
  return entry != shown_.end() && entry->second.found;
}

std::string Selection::excerpt(const qv_node* node) const {
  const auto entry = shown_.find(node);
  return entry == shown_.end() ? std::string() : entry->second.excerpt;
}

}  // namespace host
