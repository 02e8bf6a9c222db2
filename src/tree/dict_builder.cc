#include <string_view>
#include <utility>

#include "tree/builders.h"
#include "tree/nested_builder.h"

namespace quovel {

using HalconCpp::HDict;
using HalconCpp::Hlong;
using HalconCpp::HTuple;

namespace {

bool is_single_handle(const HTuple& tuple) { return tuple.Length() == 1 && tuple.TupleIsHandleElem()[0].L() != 0; }

class OpenDict final : public OpenNode {
 public:
  OpenDict(Tree& tree, const HDict& dict, Node& node, HTuple keys)
      : OpenNode(node),
        tree_(tree),
        dict_(dict),
        keys_(std::move(keys)),
        string_flags_(string_flags(keys_)),
        count_(keys_.Length()) {}

  bool has_more() const noexcept override { return next_ < count_; }

  Begun begin_next() override {
    label_ = u"<unreadable key>";
    try {
      const Hlong index = next_++;
      if (const Tree::KnownKey* known = known_key(index)) {
        label_ = known->label;
        return begin_entry(known->key);
      }
      const HTuple key = keys_[index];
      label_ = key_text(tree_, key);
      return begin_entry(key);
    } catch (const HalconCpp::HException& failure) {
      return {&replace_failed(failure), nullptr};
    }
  }

  Node& replace_failed(const HalconCpp::HException& failure) override {
    return make_error_node(tree_, label_, failure);
  }

 private:
  // Which keys are strings; empty when HALCON does not tell.
  static HTuple string_flags(const HTuple& keys) try {
    return keys.TupleIsStringElem();
  } catch (const HalconCpp::HException&) {
    return HTuple();
  }

  // Null for a key that is no string, and for one that HALCON refuses.
  const Tree::KnownKey* known_key(Hlong index) try {
    const bool is_string = index < string_flags_.Length() && string_flags_[index].L() != 0;
    return is_string ? &tree_.known_key(keys_[index].S()) : nullptr;
  } catch (const HalconCpp::HException&) {
    return nullptr;
  }

  // The key is not used any more when nodes are made.
  Begun begin_entry(const HTuple& key) {
    const HalconCpp::HString data_type = dict_.GetDictParam(tree_.dict_queries().key_data_type, key)[0].S();
    const std::string_view name = data_type.Text();
    if (name == "object") return {&build_object_node(tree_, dict_.GetDictObject(key), label_, by_key), nullptr};
    if (name == "tuple") return begin_tuple(dict_.GetDictTuple(key));
    return {&make_unsupported_node(tree_, label_, data_type), nullptr};
  }

  Begun begin_tuple(HTuple tuple) {
    if (Node* node = build_plain_value(tree_, tuple, label_, by_key)) return {node, nullptr};
    if (is_single_handle(tuple)) {
      try {
        return begin_dict_node(tree_, HDict(tuple[0].H()), label_, by_key);
      } catch (const HalconCpp::HException&) {
        // No dictionary: shown as the tuple that it is.
      }
    }
    return begin_tuple_node(tree_, tuple, label_, by_key);
  }

  Tree& tree_;
  const HDict dict_;
  const HTuple keys_;
  const HTuple string_flags_;
  const Hlong count_;
  Hlong next_ = 0;
  Text label_ = empty_text;  // of the entry being built
};

}  // namespace

Begun begin_dict_node(Tree& tree, const HDict& dict, Text label, PathSegment segment) {
  HTuple keys = dict.GetDictParam(tree.dict_queries().keys, HTuple());
  Node& node = tree.make_node(NodeKind::Dict, label, segment);
  node.type_label = u"dict";
  node.value_summary = tree.count_text(keys.Length(), u"key", u"keys");
  tree.reserve_children(node, static_cast<std::size_t>(keys.Length()));
  return {nullptr, std::make_unique<OpenDict>(tree, dict, node, std::move(keys))};
}

Node& build_dict_node(Tree& tree, const HDict& dict, Text label, PathSegment segment) {
  return finish_node(tree, begin_dict_node(tree, dict, label, segment));
}

Node& make_error_node(Tree& tree, Text label, const HalconCpp::HException& failure) {
  Node& node = tree.make_node(NodeKind::Value, label, by_key);
  node.type_label = u"<error>";
  node.value_summary = tree.text(failure.ErrorMessage());
  return node;
}

Node& make_unsupported_node(Tree& tree, Text label, const HalconCpp::HString& data_type) {
  Node& node = tree.make_node(NodeKind::Value, label, by_key);
  node.type_label = u"<unsupported>";
  node.value_summary = tree.text(data_type);
  return node;
}

}  // namespace quovel
