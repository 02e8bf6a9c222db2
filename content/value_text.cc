#include "content/value_text.h"

#include <algorithm>
#include <iterator>

#include "platform/text.h"

namespace quovel {

using HalconCpp::Hlong;
using HalconCpp::HString;
using HalconCpp::HTuple;

namespace {

constexpr std::size_t shown_in_summary = 4;

// The elements of a tuple one after the other, each as format_value shows it.
class ElementTexts {
 public:
  ElementTexts(const HTuple& tuple, Hlong count) : tuple_(tuple), flags_(element_flags(tuple)), count_(count) {}

  void append(Hlong index) {
    if (index == sample) reserve_for_all();
    if (flags_.is_string[index].L() != 0) return append_quoted(tuple_[index].S());
    make_room();
    if (flags_.is_integer[index].L() != 0)
      end_ = write_integer(end_, tuple_[index].L());
    else
      end_ = write_general(end_, tuple_[index].D());
  }
  // No more than fits where a number does.
  void append(std::string_view ascii) {
    make_room();
    end_ = std::copy(ascii.begin(), ascii.end(), end_);
  }
  LongText finish() {
    flush();
    return std::move(text_);
  }

 private:
  static constexpr Hlong sample = 1000;

  void append_quoted(const HString& string) {
    flush();
    const HalconText from(string);
    const std::size_t start = text_.size() + 1;
    text_.append(from.most_units() + 1, u'\'');
    text_.resize(start + from.copy_to(text_.data() + start));
    text_ += u'\'';
  }
  // ASCII gathers in a block before it is widened.
  void flush() {
    const std::size_t start = text_.size();
    text_.resize(start + static_cast<std::size_t>(end_ - block_));
    std::copy(block_, end_, text_.begin() + static_cast<std::ptrdiff_t>(start));
    end_ = block_;
  }
  void make_room() {
    if (std::end(block_) - end_ < static_cast<std::ptrdiff_t>(longest_number)) flush();
  }
  // Growing a long text step by step copies it several times; the first elements tell how long it is likely to be.
  void reserve_for_all() {
    flush();
    const auto per_element = text_.size() / static_cast<std::size_t>(sample) + 2;
    const auto left = static_cast<std::size_t>(count_ - sample);
    if (left < (text_.max_size() - text_.size()) / per_element) text_.reserve(text_.size() + left * per_element);
  }

  const HTuple& tuple_;
  const ElementFlags flags_;
  const Hlong count_;
  LongText text_;
  char block_[8192];
  char* end_ = block_;
};

}  // namespace

ElementFlags element_flags(const HTuple& tuple) { return {tuple.TupleIsStringElem(), tuple.TupleIsIntElem()}; }

std::optional<ValueType> common_plain_type(const HTuple& tuple) {
  if (tuple.Length() < 2) return std::nullopt;
  const HTuple types = tuple.TupleSemType();
  const HString type = types[0].S();
  const std::string_view name = type.Text();
  if (name == "integer") return ValueType::Integer;
  if (name == "real") return ValueType::Real;
  if (name == "string") return ValueType::String;
  return std::nullopt;
}

std::u16string_view plain_type_name(ValueType type) noexcept {
  return type == ValueType::String ? u"string" : type == ValueType::Integer ? u"integer" : u"real";
}

NodeValue make_tuple_value(Tree& tree, const HTuple& tuple, Hlong index, ValueType type) {
  if (type == ValueType::String) return NodeValue::of_string(tree.text(tuple[index].S()));
  if (type == ValueType::Integer) return NodeValue::of_integer(tuple[index].L());
  return NodeValue::of_real(tuple[index].D());
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
  for (Hlong i = 1; equal && i < count; ++i) equal = types[i].S().Text() == name;
  return counted_type_label(tree, equal ? from_halcon(first) : u"tuple", count);
}

Text counted_type_label(Tree& tree, std::u16string_view type, Hlong count) {
  std::u16string& text = tree.scratch();
  text += type;
  text += u'[';
  append_integer(text, count);
  return tree.shared_text(text += u']');
}

LongText full_value_text(const Node* node) {
  if (!node || node->kind != NodeKind::Value) return {};
  const HTuple& tuple = node->held_tuple;
  const Hlong count = tuple.Length();
  if (count == 0) return u"[]";
  ElementTexts texts(tuple, count);
  if (count == 1) {
    texts.append(Hlong{0});
    return texts.finish();
  }
  for (Hlong i = 0; i < count; ++i) {
    texts.append(i == 0 ? "[" : ", ");
    texts.append(i);
  }
  texts.append("]");
  return texts.finish();
}

}  // namespace quovel
