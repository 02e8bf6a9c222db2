#include "exact_values.h"

#include <charconv>
#include <cstdint>
#include <optional>
#include <utility>

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

// A type text tells what all values are, unless they are mixed.
bool may_hold_reals(const qv_node* node) {
  const std::string type = to_utf8(qv_node_type_label(node));
  return !type.starts_with("integer") && !type.starts_with("string");
}

}  // namespace

ExactValues::ExactValues(const Session& session, FileKind kind, std::vector<ReadingOption> options)
    : session_(session), kind_(kind), options_(std::move(options)) {
  options_.push_back({QV_CONVERT_JSON_ARRAYS_TO, "dict"});
}

void ExactValues::open_by_arrays(const std::string& path) try {
  const qv_node* const root = again_.open(path, FileKind::Dict, options_);
  if (session_.file_is_unchanged()) by_arrays_ = root;
} catch (const Failure&) {  // the text of the library is what is left
}

const qv_node* ExactValues::tree_by_arrays() {
  if (tried_) return by_arrays_;
  tried_ = true;
  if (extension_of(session_.path()) == "json") {
    open_by_arrays(session_.path());
  } else {
    with_temporary_file(".json", [&](const std::string& json) {
      const std::u16string from = to_utf16(session_.path()), to = to_utf16(json);
      if (qv_reader_convert_dict_file(session_.reader(), units(from), units(to), 1) == 1) open_by_arrays(json);
    });
  }
  return by_arrays_;
}

ValueText ExactValues::text(const qv_node* node, const std::string& place) {
  const std::uint32_t total = qv_node_total_count(node);
  if (!qv_node_truncated(node) && qv_node_value_count(node) == total) return {text_of_kept(node)};
  const bool exact = !may_hold_reals(node);
  if (!exact && kind_ == FileKind::Dict && tree_by_arrays()) try {
      if (std::optional<std::string> text = text_of_children(find_node(by_arrays_, place), total)) return {*text};
    } catch (const Failure&) {  // no such place: an array that holds dictionaries
    }
  const std::string text = to_utf8(qv_node_full_value_text(session_.reader(), node));
  if (text.empty()) throw Failure("out of memory for the text of the node at '" + place + "'");
  return {text, exact};
}

ValueText exact_value_text(const Session& session, FileKind kind, const std::vector<ReadingOption>& options,
                           const qv_node* node, const std::string& place) {
  return ExactValues(session, kind, options).text(node, place);
}

}  // namespace host
