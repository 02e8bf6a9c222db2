#include "tree/dict_builder.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <variant>

#include "tree/entry.h"

namespace quovel {

using HalconCpp::HDict;
using HalconCpp::Hlong;
using HalconCpp::HTuple;

namespace {

class DictEntries final : public PendingChildren {
 public:
  DictEntries(Tree& tree, Node& parent, const HDict& dict, HTuple keys)
      : tree_(tree),
        parent_(parent),
        dict_(dict),
        keys_(std::move(keys)),
        string_flags_(string_flags(keys_)),
        count_(keys_.Length()) {}

  bool has_more() const noexcept override { return next_ < count_; }

  Work take_next() override {
    const Hlong index = next_++;
    last_ = &tree_.add_child(parent_, NodeKind::Value, u"<unreadable key>", by_key);
    if (const Tree::CachedKey* known = cached_key(index)) {
      last_->label = known->label;
      return read_entry(known->key);
    }
    const HTuple key = keys_[index];
    last_->label = key_text(tree_, key);
    return read_entry(key);
  }

  void replace_failed(const HalconCpp::HException& failure) override { make_error(tree_, *last_, failure); }

 private:
  // Which keys are strings. Asked once for all keys to save time: empty when HALCON does not answer, and then each key
  // is asked.
  static HTuple string_flags(const HTuple& keys) try {
    return keys.TupleIsStringElem();
  } catch (const HalconCpp::HException&) {
    return HTuple();
  }

  // Null for a key that is not a string, and for one that cannot be read, which key_text then labels.
  const Tree::CachedKey* cached_key(Hlong index) try {
    const bool is_string = index < string_flags_.Length() && string_flags_[index].L() != 0;
    return is_string ? &tree_.cached_key(keys_[index].S()) : nullptr;
  } catch (const HalconCpp::HException&) {
    return nullptr;
  }

  Work read_entry(const HTuple& key) {
    const HalconCpp::HString data_type = dict_.GetDictParam(tree_.dict_queries().key_data_type, key)[0].S();
    if (tree_.is_tuple(data_type)) return {last_, EntryTuple{dict_.GetDictTuple(key), std::nullopt}};
    if (std::string_view(data_type.Text()) == "object") return {last_, dict_.GetDictObject(key)};
    make_unsupported(tree_, *last_, data_type);
    return {last_, {}};
  }

  Tree& tree_;
  Node& parent_;
  const HDict dict_;
  const HTuple keys_;
  const HTuple string_flags_;
  const Hlong count_;
  Hlong next_ = 0;
  Node* last_ = nullptr;  // the child taken last
};

}  // namespace

void build_dict_node(Tree& tree, Node& node, const HDict& dict, WorkList& list) {
  HTuple keys = dict.GetDictParam(tree.dict_queries().keys, HTuple());
  node.kind = NodeKind::Dict;
  node.type = TypeName::Dict;
  node.value_summary = tree.count_text(keys.Length(), u"key", u"keys");
  tree.reserve_children(node, static_cast<std::size_t>(keys.Length()));
  list.add(std::make_unique<DictEntries>(tree, node, dict, std::move(keys)));
}

}  // namespace quovel
