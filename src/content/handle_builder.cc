#include <string_view>

#include "tree/builders.h"

namespace quovel {

using HalconCpp::HException;
using HalconCpp::Hlong;
using HalconCpp::HTuple;

namespace {

Text semantic_type(Tree& tree, const HTuple& handle) {
  try {
    const HTuple name = handle.TupleSemType();
    if (name.Length() >= 1) return tree.text(name[0].S());
  } catch (const HException&) {
    // Some handle, then.
  }
  return u"handle";
}

// A handle that is not expanded.
Node& make_whole_handle(Tree& tree, Text type, Text label, PathSegment segment) {
  Node& node = tree.make_node(NodeKind::Object, label, segment);
  node.type_label = type;
  tree.make_object_part(node).object_class = type;
  return node;
}

HTuple query_handle(const HTuple& handle, const HTuple& query, const HTuple& key) {
  HTuple answer;
  HalconCpp::GetHandleParam(handle, query, key, &answer);
  return answer;
}

// NOLINTBEGIN(misc-no-recursion): handles within handles, down to max_handle_depth.

Node& build_tuple_entry(Tree& tree, const HTuple& handle, const HTuple& key, Text label, int depth) {
  HTuple tuple;
  HalconCpp::GetHandleTuple(handle, key, &tuple);
  if (tuple.Length() == 1 && tuple.TupleIsHandleElem()[0].L() != 0)
    return build_handle_node(tree, tuple, label, by_key, depth + 1);
  return build_tuple_node(tree, tuple, label, by_key);
}

Node& build_entry(Tree& tree, const HTuple& handle, const HTuple& key, int depth) {
  const Text label = key_text(tree, key);
  const HalconCpp::HString data_type = query_handle(handle, "key_data_type", key)[0].S();
  const std::string_view name = data_type.Text();
  if (name == "object") {
    HalconCpp::HObject object;
    HalconCpp::GetHandleObject(&object, handle, key);
    return build_object_node(tree, object, label, by_key);
  }
  if (name == "tuple") return build_tuple_entry(tree, handle, key, label, depth);
  return make_unsupported_node(tree, label, data_type);
}

Node& build_expanded_handle(Tree& tree, const HTuple& handle, Text type, Text label, PathSegment segment, int depth) {
  const HTuple keys = query_handle(handle, "keys", HTuple());
  const Hlong count = keys.Length();
  Node& node = tree.make_node(NodeKind::Dict, label, segment);
  node.type_label = type;
  node.value_summary = tree.count_text(count, u"key", u"keys");
  for (Hlong i = 0; i < count; ++i) {
    const HTuple key = keys[i];
    try {
      tree.append_child(node, build_entry(tree, handle, key, depth));
    } catch (const HException&) {
      // An entry that fails is left out.
    }
  }
  return node;
}

}  // namespace

Node& build_handle_node(Tree& tree, const HTuple& handle, Text label, PathSegment segment, int depth) {
  const Text type = semantic_type(tree, handle);
  if (depth > max_handle_depth) {
    Node& node = make_whole_handle(tree, type, label, segment);
    node.value_summary = u"max nesting depth reached";
    return node;
  }
  try {
    return build_expanded_handle(tree, handle, type, label, segment, depth);
  } catch (const HException&) {
    return make_whole_handle(tree, type, label, segment);
  }
}

// NOLINTEND(misc-no-recursion)

}  // namespace quovel
