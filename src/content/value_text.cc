#include "content/value_text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/text.h"

namespace quovel {

using HalconCpp::Hlong;
using HalconCpp::HString;
using HalconCpp::HTuple;

namespace {

constexpr std::size_t shown_in_summary = 4;

// The texts of all elements of a tuple, each as format_value shows it.
class ElementTexts {
 public:
  ElementTexts(const HTuple& tuple, Hlong count) : tuple_(tuple), count_(count) {}

  LongText all() {
    const ElementTypes types(tuple_);
    const std::optional<ValueType> type = types.common();
    if (count_ > 1) text_.append(u"[");
    if (type == ValueType::Integer)
      append_numbers([this](char16_t* at, Hlong index) { return write_integer(at, tuple_[index].L()); });
    else if (type == ValueType::Real)
      append_numbers([this](char16_t* at, Hlong index) { return write_general(at, tuple_[index].D()); });
    else
      append_each(types);
    text_.append(count_ > 1 ? std::u16string_view(u"]\0", 2) : std::u16string_view(u"\0", 1));
    return std::move(text_);
  }

 private:
  static constexpr Hlong block = 1000;

  // write(at, index) writes the element at `at` and returns its end. The text is updated once per block: doing so per
  // element would cost as much as the digits.
  template <class Write>
  void append_numbers(Write write) {
    for (Hlong first = 0; first < count_; first += block) {
      if (first == block) reserve_for_all(PTRDIFF_MAX / sizeof(char16_t) / 2);
      char16_t* at = text_.room(static_cast<std::size_t>(block) * (max_number_units + 2));
      for (Hlong i = first; i < std::min(first + block, count_); ++i) {
        if (i > 0) {
          *at++ = u',';
          *at++ = u' ';
        }
        at = write(at, i);
      }
      text_.end_at(at);
    }
  }
  void append_each(const ElementTypes& types) {
    for (Hlong i = 0; i < count_; ++i) {
      if (i == block) reserve_for_all(std::size_t{1} << 24);
      if (i > 0) text_.append(u", ");
      const ValueType type = types.value_type(i);
      if (type == ValueType::String) {
        append_quoted(tuple_[i].S());
        continue;
      }
      char16_t* const at = text_.room(max_number_units);
      text_.end_at(type == ValueType::Integer ? write_integer(at, tuple_[i].L()) : write_general(at, tuple_[i].D()));
    }
  }
  void append_quoted(const HString& string) {
    const HalconText from(string);
    char16_t* at = text_.room(from.max_units() + 2);
    *at++ = u'\'';
    at += from.copy_to(at);
    *at++ = u'\'';
    text_.end_at(at);
  }
  // Growing a long text step by step copies it several times, so the length of the first block predicts the rest.
  // Strings may be much shorter after it, so that `max_units` bounds the prediction. When there is no memory for it,
  // the text grows step by step.
  void reserve_for_all(std::size_t max_units) try {
    const auto per_element = text_.size() / static_cast<std::size_t>(block) + 2;
    const auto left = static_cast<std::size_t>(count_ - block) + 2 * block;
    text_.room(left < max_units / per_element ? left * per_element : max_units);
  } catch (const std::bad_alloc&) {
  }

  const HTuple& tuple_;
  const Hlong count_;
  LongText text_;
};

// The text of the values, in the form of ElementTexts.
LongText text_of_values(const Node& node) {
  LongText text;
  std::u16string part;
  for (std::uint32_t i = 0; i < node.value_count(); ++i) {
    part = i == 0 ? u"[" : u", ";
    format_value(part, node.value(i));
    text.append(part);
  }
  text.append(std::u16string_view(u"]\0", 2));
  return text;
}

}  // namespace

NodeValue make_tuple_value(Tree& tree, const HTuple& tuple, Hlong index, ValueType type) {
  if (type == ValueType::String) return NodeValue::of_string(tree.text(tuple[index].S()));
  if (type == ValueType::Integer) return NodeValue::of_integer(tuple[index].L());
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

Text tuple_type_label(Tree& tree, const HTuple& tuple, const ElementTypes& types, Hlong count) {
  if (count == 0) return u"tuple[0]";
  if (types.common()) return tree.counted_type_label(*types.common(), count);
  const HTuple names = tuple.TupleSemTypeElem();
  const HString first = names[0].S();
  const std::string_view name = first.Text();
  if (count == 1) return tree.text(first);
  bool equal = true;
  for (Hlong i = 1; equal && i < count; ++i) equal = names[i].S().Text() == name;
  std::u16string& label = tree.scratch();
  label = equal ? from_halcon(first) : u"tuple";
  append_integer(label += u'[', count);
  return tree.text(label += u']');
}

LongText full_value_text(const Node* node) {
  if (!node || node->kind != NodeKind::Value) return {};
  const std::uint32_t count = node->total_count();
  if (count == 0) return LongText(std::u16string_view(u"[]\0", 3));
  if (count == 1) {
    const std::u16string_view text = node->value_summary;
    return LongText(std::u16string_view(text.data(), text.size() + 1));
  }
  if (!node->truncated()) return text_of_values(*node);
  const HTuple& tuple = node->rare()->held_tuple;
  return ElementTexts(tuple, tuple.Length()).all();
}

}  // namespace quovel
