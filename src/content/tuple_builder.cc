#include "content/tuple_builder.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "content/handle_summaries.h"
#include "content/value_text.h"
#include "platform/text.h"

namespace quovel {

using HalconCpp::HDict;
using HalconCpp::Hlong;
using HalconCpp::HTuple;

namespace {

constexpr Hlong max_values = 1000;

Text element_label(Tree& tree, Hlong index) {
  std::u16string& text = tree.scratch();
  append_integer(text += u'[', index);
  return tree.text(text += u']');
}

// The elements of an array that may be dictionaries. Their nodes have been made as unsupported handles. An element for
// which HALCON lists no keys stays one.
class ArrayHandles final : public PendingChildren {
 public:
  ArrayHandles(Node& array, HTuple tuple) : array_(array), tuple_(std::move(tuple)) { skip_values(); }

  bool has_more() const noexcept override { return next_ < array_.child_count(); }

  Work take_next() override {
    const std::uint32_t index = next_++;
    skip_values();
    return {&array_.children()[index], HDict(tuple_[index].H())};
  }

  void replace_failed(const HalconCpp::HException&) override {}

 private:
  void skip_values() noexcept {
    while (next_ < array_.child_count() && array_.children()[next_].kind == NodeKind::Value) ++next_;
  }

  Node& array_;
  const HTuple tuple_;
  std::uint32_t next_ = 0;
};

std::span<const NodeValue> fill_values(Tree& tree, Node& node, const HTuple& tuple, const ElementTypes& types,
                                       Hlong kept) {
  const std::span<NodeValue> values = tree.make_values(node, static_cast<std::size_t>(kept));
  for (Hlong i = 0; i < kept; ++i)
    values[static_cast<std::size_t>(i)] = make_tuple_value(tree, tuple, i, types.value_type(i));
  return values;
}

void add_plain_element(Tree& tree, Node& array, const HTuple& tuple, const ElementTypes& types, Hlong index) {
  const PathSegment segment = by_index(static_cast<std::uint32_t>(index));
  Node& node = tree.add_child(array, NodeKind::Value, element_label(tree, index), segment);
  const NodeValue value = make_tuple_value(tree, tuple, index, types.value_type(index));
  tree.set_value(node, value);
  node.type = TypeName::Element;
  node.value_summary = summarize_values(tree, {&value, 1}, 1);
}

void add_handle_element(Tree& tree, Node& array, Hlong index) {
  const PathSegment segment = by_index(static_cast<std::uint32_t>(index));
  tree.add_child(array, NodeKind::Object, element_label(tree, index), segment).type = TypeName::UnsupportedHandle;
}

void build_array(Tree& tree, Node& node, HTuple tuple, const ElementTypes& types, WorkList& list) {
  const Hlong count = tuple.Length();
  node.kind = NodeKind::Array;
  node.type = TypeName::Array;
  node.value_summary = tree.count_text(count, u"entry", u"entries");
  tree.reserve_children(node, static_cast<std::size_t>(count));
  for (Hlong i = 0; i < count; ++i)
    if (types.is_handle(i))
      add_handle_element(tree, node, i);
    else
      add_plain_element(tree, node, tuple, types, i);
  list.add(std::make_unique<ArrayHandles>(node, std::move(tuple)));
}

// Whether the tuple is one matrix or one 3D object model; then the node is filled.
bool build_whole_handle(Tree& tree, Node& node, const HTuple& tuple) {
  const HalconCpp::HString type = tuple.TupleSemTypeElem()[0].S();
  const std::string_view name = type.Text();
  if (name == "matrix")
    build_matrix_node(tree, node, tuple);
  else if (name == "object_model_3d")
    build_object_model_3d_node(tree, node, tuple);
  else
    return false;
  return true;
}

// One plain value: most nodes of most trees are this one, so its texts are made without a copy in between. They are the
// node's full value text as well, so that it need not hold the tuple.
void build_single_value(Tree& tree, Node& node, const HTuple& tuple, ValueType type) {
  char16_t number[max_number_units];
  char16_t* end = number;
  switch (type) {
    case ValueType::String: {
      const Tree::QuotedText text = tree.quoted_text(tuple[0].S());
      tree.set_value(node, NodeValue::of_string(text.plain));
      node.value_summary = text.quoted;
      break;
    }
    case ValueType::Integer: {
      const Hlong value = tuple[0].L();
      tree.set_value(node, NodeValue::of_integer(value));
      end = write_integer(number, value);
      break;
    }
    case ValueType::Real: {
      const double value = tuple[0].D();
      tree.set_value(node, NodeValue::of_real(value));
      end = write_general(number, value);
      break;
    }
  }
  if (end != number)
    node.value_summary = tree.text(std::u16string_view(number, static_cast<std::size_t>(end - number)));
  node.kind = NodeKind::Value;
  node.type = type_name(type);
}

// Where all values are kept, they make up the full value text; otherwise the tuple is held for it.
void build_values(Tree& tree, Node& node, HTuple tuple, const ElementTypes& types) {
  const Hlong count = tuple.Length();
  node.kind = NodeKind::Value;
  const std::span<const NodeValue> values = fill_values(tree, node, tuple, types, std::min(count, max_values));
  tree.set_type_label(node, tuple_type_label(tree, tuple, types, count));
  node.value_summary = summarize_values(tree, values, static_cast<std::uint32_t>(count));
  if (count > max_values) tree.set_truncated(node, std::move(tuple));
}

}  // namespace

void build_tuple_node(Tree& tree, Node& node, HTuple tuple, const ElementTypes& types, WorkList& list) {
  if (types.common() && tuple.Length() == 1) return build_single_value(tree, node, tuple, *types.common());
  if (!types.has_handle()) return build_values(tree, node, std::move(tuple), types);
  if (types.is_single_handle() && build_whole_handle(tree, node, tuple)) return;
  build_array(tree, node, std::move(tuple), types, list);
}

}  // namespace quovel
