#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "content/value_text.h"
#include "platform/text.h"
#include "tree/builders.h"
#include "tree/nested_builder.h"

namespace quovel {

using HalconCpp::HDict;
using HalconCpp::Hlong;
using HalconCpp::HTuple;

namespace {

constexpr Hlong most_values = 1000;

bool holds_handle(const HTuple& handle_flags, Hlong count) {
  for (Hlong i = 0; i < count; ++i)
    if (handle_flags[i].L() != 0) return true;
  return false;
}

Text element_label(Tree& tree, Hlong index) {
  std::u16string& text = tree.scratch();
  append_integer(text += u'[', index);
  return tree.text(text += u']');
}

// A tuple with handles in it, one child per element.
class OpenArray final : public OpenNode {
 public:
  OpenArray(Tree& tree, Node& node, const HTuple& tuple, const HTuple& handle_flags)
      : OpenNode(node),
        tree_(tree),
        tuple_(tuple),
        handle_flags_(handle_flags),
        flags_(element_flags(tuple)),
        count_(tuple.Length()) {}

  bool has_more() const noexcept override { return next_ < count_; }

  Begun begin_next() override {
    const Hlong index = next_++;
    label_ = element_label(tree_, index);
    segment_ = by_index(static_cast<std::uint32_t>(index));
    if (handle_flags_[index].L() == 0) return {&build_plain_element(index), nullptr};
    try {
      return begin_dict_node(tree_, HDict(tuple_[index].H()), label_, segment_);
    } catch (const HalconCpp::HException&) {
      return {&make_unsupported_handle(), nullptr};
    }
  }

  Node& replace_failed(const HalconCpp::HException&) override { return make_unsupported_handle(); }

 private:
  // Keeps the element as a tuple of one, so that its full value text is its summary.
  Node& build_plain_element(Hlong index) {
    Node& node = tree_.make_node(NodeKind::Value, label_, segment_);
    node.values = tree_.make_values(1);
    node.values[0] = make_tuple_value(tree_, tuple_, index, flags_);
    node.value_count = 1;
    node.total_count = 1;
    node.held_tuple = tuple_[index];
    node.type_label = u"tuple[1]";
    node.value_summary = summarize_values(tree_, {node.values, 1}, 1);
    return node;
  }

  Node& make_unsupported_handle() {
    Node& node = tree_.make_node(NodeKind::Object, label_, segment_);
    node.type_label = u"<unsupported handle>";
    return node;
  }

  Tree& tree_;
  const HTuple tuple_;
  const HTuple handle_flags_;
  const ElementFlags flags_;
  const Hlong count_;
  Hlong next_ = 0;
  Text label_ = empty_text;  // of the element being built, as is its segment
  PathSegment segment_;
};

Begun begin_array(Tree& tree, const HTuple& tuple, const HTuple& handle_flags, Text label, PathSegment segment) {
  Node& node = tree.make_node(NodeKind::Array, label, segment);
  node.type_label = u"array";
  node.value_summary = tree.count_text(tuple.Length(), u"entry", u"entries");
  tree.reserve_children(node, static_cast<std::size_t>(tuple.Length()));
  return {nullptr, std::make_unique<OpenArray>(tree, node, tuple, handle_flags)};
}

// The node of the matrix or the 3D object model that the tuple is; null for any other tuple.
Node* build_whole_handle(Tree& tree, const HTuple& tuple, Text label, PathSegment segment) {
  if (tuple.Length() != 1) return nullptr;
  const HalconCpp::HString type = tuple.TupleSemTypeElem()[0].S();
  const std::string_view name = type.Text();
  if (name == "matrix") return &build_matrix_node(tree, tuple[0].H(), label, segment);
  if (name == "object_model_3d") return &build_object_model_3d_node(tree, tuple[0].H(), label, segment);
  return nullptr;
}

// What the only element is; nothing when it is a handle, or when HALCON does not tell and it is shown some other way.
// Most nodes of most trees, so it asks for flags: they are numbers, and a type's name is a text to be compared.
std::optional<ValueType> only_plain_type(const HTuple& tuple) try {
  if (tuple.TupleIsStringElem()[0].L() != 0) return ValueType::String;
  if (tuple.TupleIsIntElem()[0].L() != 0) return ValueType::Integer;
  if (tuple.TupleIsHandleElem()[0].L() != 0) return std::nullopt;
  return ValueType::Real;
} catch (const HalconCpp::HException&) {
  return std::nullopt;
}

// `type` is what all elements are, nothing when it is unknown.
Node& build_value_node(Tree& tree, const HTuple& tuple, std::optional<ValueType> type, Text label,
                       PathSegment segment) {
  const Hlong count = tuple.Length();
  const ElementFlags flags = count > 0 && !type ? element_flags(tuple) : ElementFlags();
  const Hlong kept = std::min(count, most_values);
  Node& node = tree.make_node(NodeKind::Value, label, segment);
  node.total_count = static_cast<std::uint32_t>(count);
  node.values = tree.make_values(static_cast<std::size_t>(kept));
  for (Hlong i = 0; i < kept; ++i)
    node.values[i] = type ? make_tuple_value(tree, tuple, i, *type) : make_tuple_value(tree, tuple, i, flags);
  node.value_count = static_cast<std::uint32_t>(kept);
  node.truncated = count > most_values;
  node.held_tuple = tuple;
  node.type_label =
      type ? counted_type_label(tree, plain_type_name(*type), count) : tuple_type_label(tree, tuple, count);
  node.value_summary = summarize_values(tree, {node.values, node.value_count}, node.total_count);
  return node;
}

}  // namespace

Node* build_plain_value(Tree& tree, HTuple& tuple, Text label, PathSegment segment) {
  if (tuple.Length() != 1) return nullptr;
  const std::optional<ValueType> type = only_plain_type(tuple);
  if (!type) return nullptr;
  Node& node = tree.make_node(NodeKind::Value, label, segment);
  node.values = tree.make_values(1);
  char16_t number[longest_number];
  char16_t* end = number;
  if (*type == ValueType::String) {
    const Tree::QuotedText text = tree.quoted_text(tuple[0].S());
    node.values[0] = NodeValue::of_string(text.plain);
    node.value_summary = text.quoted;
  } else if (*type == ValueType::Integer) {
    node.values[0] = NodeValue::of_integer(tuple[0].L());
    end = write_integer(number, node.values[0].int_value());
  } else {
    node.values[0] = NodeValue::of_real(tuple[0].D());
    end = write_general(number, node.values[0].real_value());
  }
  if (*type != ValueType::String)
    node.value_summary = tree.text(std::u16string_view(number, static_cast<std::size_t>(end - number)));
  node.type_label = plain_type_name(*type).data();
  node.value_count = 1;
  node.total_count = 1;
  node.held_tuple = std::move(tuple);
  return &node;
}

Begun begin_tuple_node(Tree& tree, const HTuple& tuple, Text label, PathSegment segment) {
  const Hlong count = tuple.Length();
  const std::optional<ValueType> type = common_plain_type(tuple);
  if (count > 0 && !type) {
    const HTuple handle_flags = tuple.TupleIsHandleElem();
    if (holds_handle(handle_flags, count)) {
      if (Node* whole = build_whole_handle(tree, tuple, label, segment)) return {whole, nullptr};
      return begin_array(tree, tuple, handle_flags, label, segment);
    }
  }
  return {&build_value_node(tree, tuple, type, label, segment), nullptr};
}

Node& build_tuple_node(Tree& tree, const HTuple& tuple, Text label, PathSegment segment) {
  return finish_node(tree, begin_tuple_node(tree, tuple, label, segment));
}

}  // namespace quovel
