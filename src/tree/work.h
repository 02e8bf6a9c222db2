// Work that builders leave to one another without calling one another.
//
// A builder fills one node. For the children that need another builder it puts an object on the work list that makes
// them one after the other; the dispatcher (adapter/dispatcher.h) takes each child from the list and calls the builder
// that fits what it is made from. So no room depends on another room's builders, and data nested to any depth needs no
// call stack.
//
// All builders share one rule: an HException means that the node could not be filled, and whoever made the node decides
// what is shown instead. The node may then be partly filled (Tree::clear resets it), and nothing was put on the list.
#ifndef QUOVEL_TREE_WORK_H
#define QUOVEL_TREE_WORK_H

#include <memory>
#include <optional>
#include <utility>
#include <variant>
#include <vector>

#include "HalconCpp.h"
#include "tree/node.h"

namespace quovel {

// The tuple of a dictionary's or a handle's entry. A tuple of one handle is expanded in two ways.
struct EntryTuple {
  HalconCpp::HTuple tuple;
  // Below a handle: the nesting depth of the handle that the tuple may be. Without it the entry belongs to a
  // dictionary, where a handle is tried as a nested dictionary first.
  std::optional<int> handle_depth;
};

// A node that has its label and its parent already, and what fills it; nothing when it is complete.
struct Work {
  Node* node = nullptr;
  std::variant<std::monostate, EntryTuple, HalconCpp::HDict, HalconCpp::HObject> content;
};

// The children that one node still lacks.
class PendingChildren {
 public:
  virtual ~PendingChildren() = default;

  virtual bool has_more() const noexcept = 0;
  // Appends the next child to its parent and returns the work that fills it. When this or the builder throws an
  // HException, `replace_failed` is called.
  virtual Work take_next() = 0;
  // The child taken last could not be made or filled: turns it into what is shown instead, or removes it.
  virtual void replace_failed(const HalconCpp::HException& failure) = 0;
};

// What is still to be built in one tree. Entries are taken from the end, so the list is never longer than the tree is
// deep.
class WorkList {
 public:
  void add(std::unique_ptr<PendingChildren> children) { lists_.push_back(std::move(children)); }
  bool empty() const noexcept { return lists_.empty(); }
  PendingChildren& last() noexcept { return *lists_.back(); }
  void remove_last() noexcept { lists_.pop_back(); }

 private:
  std::vector<std::unique_ptr<PendingChildren>> lists_;
};

}  // namespace quovel

#endif
