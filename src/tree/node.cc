#include "tree/node.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

#include "platform/text.h"

namespace quovel {

Tree::~Tree() {
  for (RareFields* fields = rare_; fields;) {
    RareFields* const next = fields->next;
    fields->~RareFields();
    fields = next;
  }
}

Node& Tree::make_node() { return *new (arena_.allocate_bytes(sizeof(Node), alignof(Node))) Node; }

void Tree::reserve_children(Node& parent, std::size_t count) {
  if (count <= parent.capacity_) return;
  if (count > UINT32_MAX) throw std::bad_alloc();
  Node* const block = arena_.allocate<Node>(count);
  std::uninitialized_copy_n(parent.children(), parent.count_, block);
  (parent.form_ == Node::Form::Rare ? parent.content_.rare->children : parent.content_.children) = block;
  parent.capacity_ = static_cast<std::uint32_t>(count);
}

Node& Tree::add_child(Node& parent, NodeKind kind, Text label, PathSegment segment) {
  if (parent.count_ == parent.capacity_)
    reserve_children(parent, std::max<std::size_t>(1, std::size_t{parent.capacity_} * 2));
  Node& child = *new (parent.children() + parent.count_) Node;
  ++parent.count_;
  child.kind = kind;
  child.label = label;
  child.path_segment_kind = segment.kind;
  child.path_index = segment.index;
  return child;
}

void Tree::clear(Node& node) noexcept {
  if (node.form_ == Node::Form::Rare) {
    node.content_.rare->held_object = HalconCpp::HObject();
    node.content_.rare->held_tuple = HalconCpp::HTuple();
  }
  Node cleared;
  cleared.label = node.label;
  cleared.path_segment_kind = node.path_segment_kind;
  cleared.path_index = node.path_index;
  node = cleared;
}

RareFields& Tree::make_rare(Node& node) {
  if (node.form_ == Node::Form::Rare) return *node.content_.rare;
  auto* const fields = new (arena_.allocate_bytes(sizeof(RareFields), alignof(RareFields))) RareFields;
  fields->next = rare_;
  rare_ = fields;
  if (node.form_ == Node::Form::Children) {
    fields->children = node.content_.children;
  } else {  // a block of values: nodes of one value get no rare fields
    fields->values = node.content_.values;
    fields->type_label = fields->values->type_label;
    fields->value_count = fields->total_count = std::exchange(node.count_, 0);
  }
  node.form_ = Node::Form::Rare;
  node.content_.rare = fields;
  return *fields;
}

void Tree::set_type_label(Node& node, Text label) {
  if (node.form_ == Node::Form::Values)
    node.content_.values->type_label = label;
  else
    make_rare(node).type_label = label;
  node.type = TypeName::Own;
}

void Tree::set_value(Node& node, const NodeValue& value) noexcept {
  switch (value.type()) {
    case ValueType::String:
      node.form_ = Node::Form::String;
      node.content_.text = value.text();
      return;
    case ValueType::Integer:
      node.form_ = Node::Form::Integer;
      node.content_.integer = value.int_value();
      return;
    case ValueType::Real:
      node.form_ = Node::Form::Real;
      node.content_.real = value.real_value();
      return;
  }
}

std::span<NodeValue> Tree::make_values(Node& node, std::size_t count) {
  void* const block = arena_.allocate_bytes(sizeof(ValueBlock) + count * sizeof(NodeValue), alignof(NodeValue));
  auto* const values = reinterpret_cast<NodeValue*>(static_cast<std::byte*>(block) + sizeof(ValueBlock));
  node.content_.values = new (block) ValueBlock{empty_text, values};
  node.form_ = Node::Form::Values;
  node.count_ = static_cast<std::uint32_t>(count);
  return {values, count};
}

void Tree::set_truncated(Node& node, HalconCpp::HTuple held_tuple) {
  RareFields& fields = make_rare(node);
  fields.total_count = static_cast<std::uint32_t>(held_tuple.Length());
  fields.held_tuple = std::move(held_tuple);
}

std::span<Text> Tree::make_lines(std::size_t count) {
  Text* lines = arena_.allocate<Text>(count);
  std::fill_n(lines, count, empty_text);
  return {lines, count};
}

Text Tree::text(std::u16string_view text) {
  if (text.empty()) return empty_text;
  char16_t* copy = arena_.allocate<char16_t>(text.size() + 1);
  *std::copy(text.begin(), text.end(), copy) = u'\0';
  return copy;
}

Text Tree::count_text(std::int64_t count, std::u16string_view one, std::u16string_view many) {
  append_count(scratch(), count, one, many);
  return text(scratch_);
}

std::span<char16_t> Tree::write_text(const HalconText& from, std::size_t more) {
  char16_t* const block = arena_.allocate<char16_t>(from.max_units() + more);
  const std::size_t units = from.copy_to(block);
  arena_.shrink_last(block + units + more, block + from.max_units() + more);
  return {block, units};
}

Text Tree::text(const HalconCpp::HString& string) {
  const std::span<char16_t> copy = write_text(HalconText(string), 1);
  copy.data()[copy.size()] = u'\0';
  return copy.data();
}

const Tree::CachedKey& Tree::cached_key(const HalconCpp::HString& string) {
  const void* const text = HalconText::address_of(string);
  const auto address = reinterpret_cast<std::uintptr_t>(text);
  CachedKey& cached = cached_keys_[(address / 16 ^ address / 4096) % cached_keys_.size()];
  if (cached.address != text) {
    cached = {string, nullptr, HalconCpp::HTuple(string), this->text(string)};
    cached.address = HalconText::address_of(cached.string);  // of the copy, which may not share the text
  }
  return cached;
}

bool Tree::is_tuple(const HalconCpp::HString& data_type) {
  if (tuple_name_.address && HalconText::address_of(data_type) == tuple_name_.address) return true;
  if (std::string_view(data_type.Text()) != "tuple") return false;
  tuple_name_ = {data_type, nullptr};
  tuple_name_.address = HalconText::address_of(tuple_name_.string);
  return true;
}

Text Tree::number_text(std::int64_t number) {
  if (number < 0 || number >= static_cast<std::int64_t>(cached_numbers_.size())) {
    append_integer(scratch(), number);
    return text(scratch_);
  }
  Text& cached = cached_numbers_[static_cast<std::size_t>(number)];
  if (!cached) {
    append_integer(scratch(), number);
    cached = text(scratch_);
  }
  return cached;
}

Text Tree::counted_type_label(ValueType type, std::int64_t count) {
  const auto make = [&] {
    std::u16string& label = scratch();
    label = type_names[static_cast<std::size_t>(type_name(type))];
    append_integer(label += u'[', count);
    return text(label += u']');
  };
  auto& cached = cached_labels_[static_cast<std::size_t>(type)];
  if (count < 0 || static_cast<std::size_t>(count) >= cached.size()) return make();
  Text& label = cached[static_cast<std::size_t>(count)];
  if (!label) label = make();
  return label;
}

Tree::QuotedText Tree::quoted_text(const HalconCpp::HString& string) {
  constexpr std::size_t max_word = 5;
  const HalconText text(string);
  if (text.max_units() > max_word) return make_quoted_text(text);
  const void* const address = HalconText::address_of(string);
  CachedWord& cached = cached_words_[reinterpret_cast<std::uintptr_t>(address) / 16 % cached_words_.size()];
  if (cached.address != address) {
    cached = {string, nullptr, make_quoted_text(text)};
    cached.address = HalconText::address_of(cached.string);
  }
  return cached.text;
}

Tree::QuotedText Tree::make_quoted_text(const HalconText& string) {
  const std::span<char16_t> plain = write_text(string, 1);
  if (plain.empty()) return {empty_text, u"''"};
  plain.data()[plain.size()] = u'\0';
  char16_t* const quoted = arena_.allocate<char16_t>(plain.size() + 3);
  quoted[0] = u'\'';
  char16_t* const end = std::copy(plain.begin(), plain.end(), quoted + 1);
  end[0] = u'\'';
  end[1] = u'\0';
  return {plain.data(), quoted};
}

}  // namespace quovel
