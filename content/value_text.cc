#include "content/value_text.h"

#include <algorithm>

#include "platform/text.h"

namespace quovel {

using HalconCpp::Hlong;
using HalconCpp::HString;
using HalconCpp::HTuple;

namespace {

constexpr std::size_t shown_in_summary = 4;

void append_quoted(std::u16string& text, const HString& string) {
  const HalconText from(string);
  const std::size_t start = text.size() + 1;
  text.append(from.most_units() + 1, u'\'');
  text.resize(start + from.copy_to(text.data() + start));
  text += u'\'';
}

// An element as format_value shows it, without making a NodeValue first.
void append_element(std::u16string& text, const HTuple& tuple, Hlong index, const ElementFlags& flags) {
  if (flags.is_string[index].L() != 0)
    append_quoted(text, tuple[index].S());
  else if (flags.is_integer[index].L() != 0)
    append_integer(text, tuple[index].L());
  else
    append_general(text, tuple[index].D());
}

}  // namespace

ElementFlags element_flags(const HTuple& tuple) { return {tuple.TupleIsStringElem(), tuple.TupleIsIntElem()}; }

bool is_uniform_plain(const HTuple& tuple) {
  if (tuple.Length() < 2) return false;
  const HString type = tuple.TupleSemType()[0].S();
  const std::string_view name = type.Text();
  return name == "integer" || name == "real" || name == "string";
}

NodeValue make_tuple_value(Tree& tree, const HTuple& tuple, Hlong index, const ElementFlags& flags) {
  if (flags.is_string[index].L() != 0) return NodeValue::of_string(tree.text(tuple[index].S()));
  if (flags.is_integer[index].L() != 0) return NodeValue::of_integer(tuple[index].L());
  return NodeValue::of_real(tuple[index].D());
}

void format_value(std::u16string& text, const NodeValue& value) {
  switch (value.type()) {
    case ValueType::String:
      text += u'\'';
      text += value.text();
      text += u'\'';
      return;
    case ValueType::Integer:
      return append_integer(text, value.int_value());
    case ValueType::Real:
      return append_general(text, value.real_value());
  }
}

Text summarize_values(Tree& tree, std::span<const NodeValue> values, std::uint32_t count) {
  if (count == 0) return u"[]";
  std::u16string& text = tree.scratch();
  if (count == 1) {
    if (!values.empty()) format_value(text, values[0]);
    return tree.text(text);
  }
  const std::size_t shown = std::min(values.size(), shown_in_summary);
  for (std::size_t i = 0; i < shown; ++i) {
    text += i == 0 ? u"[" : u", ";
    format_value(text, values[i]);
  }
  if (count > shown) text += u", ...";
  return tree.text(text += u']');
}

Text tuple_type_label(Tree& tree, const HTuple& tuple, Hlong count) {
  if (count == 0) return u"tuple[0]";
  const HTuple types = tuple.TupleSemTypeElem();
  const HString first = types[0].S();
  const std::string_view name = first.Text();
  if (count == 1) return tree.text(first);
  bool equal = true;
  if (!is_uniform_plain(tuple))
    for (Hlong i = 1; equal && i < count; ++i) equal = types[i].S().Text() == name;
  std::u16string& text = tree.scratch();
  text += equal ? from_halcon(first) : u"tuple";
  text += u'[';
  append_integer(text, count);
  return tree.text(text += u']');
}

std::u16string full_value_text(const Node* node) {
  if (!node || node->kind != NodeKind::Value) return {};
  const HTuple& tuple = node->held_tuple;
  const Hlong count = tuple.Length();
  if (count == 0) return u"[]";
  const ElementFlags flags = element_flags(tuple);
  std::u16string text;
  if (count == 1) {
    append_element(text, tuple, 0, flags);
    return text;
  }
  for (Hlong i = 0; i < count; ++i) {
    text += i == 0 ? u"[" : u", ";
    append_element(text, tuple, i, flags);
  }
  text += u']';
  return text;
}

}  // namespace quovel
