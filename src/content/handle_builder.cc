#include "content/handle_builder.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include "tree/entry.h"

namespace quovel {

using HalconCpp::HException;
using HalconCpp::Hlong;
using HalconCpp::HTuple;

namespace {

// A handle whose type cannot be read is shown as "handle".
Text semantic_type(Tree& tree, const HTuple& handle) {
  try {
    const HTuple name = handle.TupleSemType();
    if (name.Length() >= 1) return tree.text(name[0].S());
  } catch (const HException&) {
  }
  return u"handle";
}

HTuple query_handle(const HTuple& handle, const HTuple& query, const HTuple& key) {
  HTuple answer;
  HalconCpp::GetHandleParam(handle, query, key, &answer);
  return answer;
}

class HandleEntries final : public PendingChildren {
 public:
  HandleEntries(Tree& tree, Node& parent, const HTuple& handle, HTuple keys, int depth)
      : tree_(tree), parent_(parent), handle_(handle), keys_(std::move(keys)), count_(keys_.Length()), depth_(depth) {}

  bool has_more() const noexcept override { return next_ < count_; }

  Work take_next() override {
    Node& node = tree_.add_child(parent_, NodeKind::Value, u"<unreadable key>", by_key);
    const HTuple key = keys_[next_++];
    node.label = key_text(tree_, key);
    const HalconCpp::HString data_type = query_handle(handle_, "key_data_type", key)[0].S();
    const std::string_view name = data_type.Text();
    if (name == "object") {
      HalconCpp::HObject object;
      HalconCpp::GetHandleObject(&object, handle_, key);
      return {&node, std::move(object)};
    }
    if (name == "tuple") {
      HTuple tuple;
      HalconCpp::GetHandleTuple(handle_, key, &tuple);
      return {&node, EntryTuple{std::move(tuple), depth_ + 1}};
    }
    make_unsupported(tree_, node, data_type);
    return {&node, {}};
  }

  // A key that fails is left out.
  void replace_failed(const HException&) override { tree_.remove_last_child(parent_); }

 private:
  Tree& tree_;
  Node& parent_;
  const HTuple handle_;
  const HTuple keys_;
  const Hlong count_;
  const int depth_;
  Hlong next_ = 0;
};

void make_whole_handle(Tree& tree, Node& node, Text type) {
  node.kind = NodeKind::Object;
  tree.set_type_label(node, type);
  tree.make_rare(node).object_class = type;
}

}  // namespace

void build_handle_node(Tree& tree, Node& node, const HTuple& handle, int depth, WorkList& list) {
  const Text type = semantic_type(tree, handle);
  if (depth > max_handle_depth) {
    make_whole_handle(tree, node, type);
    node.value_summary = u"max nesting depth reached";
    return;
  }
  try {
    HTuple keys = query_handle(handle, "keys", HTuple());
    node.kind = NodeKind::Dict;
    tree.set_type_label(node, type);
    node.value_summary = tree.count_text(keys.Length(), u"key", u"keys");
    tree.reserve_children(node, static_cast<std::size_t>(keys.Length()));
    list.add(std::make_unique<HandleEntries>(tree, node, handle, std::move(keys), depth));
  } catch (const HException&) {
    // Not every type of handle has keys.
    make_whole_handle(tree, node, type);
  }
}

}  // namespace quovel
