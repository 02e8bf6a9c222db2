#include "exact_values.h"

#include <charconv>
#include <cstdint>
#include <optional>

#include "place.h"
#include "target_file.h"

namespace host {

namespace {

void append_value(std::string& text, const qv_node* node, std::int32_t index) {
  char digits[32];
  switch (qv_node_value_type_at(node, index)) {
    case QV_VALUE_STRING:
      text += '\'';
      append_utf8(text, qv_node_value_string_at(node, index));
      text += '\'';
      return;
    case QV_VALUE_INTEGER:
      text += std::to_string(qv_node_value_int_at(node, index));
      return;
    default:
      text.append(digits, std::to_chars(digits, digits + sizeof digits, qv_node_value_real_at(node, index)).ptr);
  }
}

std::string text_of_kept(const qv_node* node) {
  const int64_t count = qv_node_value_count(node);
  std::string text = count == 1 ? "" : "[";
  for (std::int32_t i = 0; i < count; ++i) {
    if (i > 0) text += ", ";
    append_value(text, node, i);
  }
  return count == 1 ? text : text + "]";
}

// Nothing when the children are not one value each.
std::optional<std::string> text_of_children(const qv_node* node, std::uint32_t wanted) {
  if (qv_node_child_count(node) != wanted) return {};
  std::string text = "[";
  for (std::uint32_t i = 0; i < wanted; ++i) {
    const qv_node* const child = qv_node_child_at(node, static_cast<std::int32_t>(i));
    if (qv_node_value_count(child) != 1) return {};
    if (i > 0) text += ", ";
    append_value(text, child, 0);
  }
  return text + "]";
}

std::optional<std::string> text_by_arrays(const std::string& path, std::vector<ReadingOption> options,
                                          const std::string& place, std::uint32_t wanted) try {
  options.push_back({QV_CONVERT_JSON_ARRAYS_TO, "dict"});
  Session again;
  return text_of_children(find_node(again.open(path, FileKind::Dict, options), place), wanted);
} catch (const Failure&) {
  return {};
}

std::optional<std::string> text_from_file(const Session& session, const std::vector<ReadingOption>& options,
                                          const std::string& place, std::uint32_t wanted) {
  if (extension_of(session.path()) == "json") return text_by_arrays(session.path(), options, place, wanted);
  std::optional<std::string> text;
  with_temporary_file(".json", [&](const std::string& json) {
    const std::u16string from = to_utf16(session.path()), to = to_utf16(json);
    if (qv_reader_convert_dict_file(session.reader(), units(from), units(to), 1) == 1)
      text = text_by_arrays(json, options, place, wanted);
  });
  return text;
}

// A type text tells what all values are, unless they are mixed.
bool may_hold_reals(const qv_node* node) {
  const std::string type = to_utf8(qv_node_type_label(node));
  return !type.starts_with("integer") && !type.starts_with("string");
}

}  // namespace

ValueText exact_value_text(const Session& session, FileKind kind, const std::vector<ReadingOption>& options,
                           const qv_node* node, const std::string& place) {
  const std::uint32_t total = qv_node_total_count(node);
  if (!qv_node_truncated(node) && qv_node_value_count(node) == total) return {text_of_kept(node)};
  const bool exact = !may_hold_reals(node);
  if (!exact && kind == FileKind::Dict)
    if (std::optional<std::string> text = text_from_file(session, options, place, total)) return {*text};
  const std::string text = to_utf8(qv_node_full_value_text(session.reader(), node));
  if (text.empty()) throw Failure("out of memory for the text of the node at '" + place + "'");
  return {text, exact};
}

}  // namespace host
