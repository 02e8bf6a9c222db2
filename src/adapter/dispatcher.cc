#include "adapter/dispatcher.h"

#include <optional>
#include <utility>
#include <variant>

#include "HalconCpp.h"
#include "content/handle_builder.h"
#include "content/tuple_builder.h"
#include "iconic/object_builder.h"
#include "tree/dict_builder.h"
#include "tree/element_types.h"

namespace quovel {

using HalconCpp::HDict;
using HalconCpp::HException;
using HalconCpp::HObject;
using HalconCpp::HTuple;

namespace {

// Whether the handle is a dictionary. One that is not, or whose keys cannot be listed, is shown as a tuple instead.
bool build_nested_dict(Tree& tree, Node& node, const HTuple& handle, WorkList& list) try {
  build_dict_node(tree, node, HDict(handle[0].H()), list);
  return true;
} catch (const HException&) {
  return false;
}

// One builder call per kind of content.
struct Build {
  Tree& tree;
  Node& node;
  WorkList& list;

  void operator()(std::monostate) const {}
  void operator()(EntryTuple& entry) const {
    const ElementTypes types(entry.tuple);
    if (types.is_single_handle()) {
      if (entry.handle_depth) return build_handle_node(tree, node, entry.tuple, *entry.handle_depth, list);
      if (build_nested_dict(tree, node, entry.tuple, list)) return;
    }
    build_tuple_node(tree, node, std::move(entry.tuple), types, list);
  }
  void operator()(const HDict& dict) const { build_dict_node(tree, node, dict, list); }
  void operator()(const HObject& object) const { build_object_node(tree, node, object); }
};

// A child that fails is replaced by what its parent's kind shows for it.
void build_next(Tree& tree, PendingChildren& children, WorkList& list) {
  try {
    Work work = children.take_next();
    std::visit(Build{tree, *work.node, list}, work.content);
  } catch (const HException& failure) {
    children.replace_failed(failure);
  }
}

}  // namespace

void build_pending(Tree& tree, WorkList& list) {
  while (!list.empty()) {
    PendingChildren& children = list.last();
    if (children.has_more())
      build_next(tree, children, list);
    else
      list.remove_last();
  }
}

}  // namespace quovel
