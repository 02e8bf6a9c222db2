#include "tree/nested_builder.h"

#include <utility>
#include <vector>

namespace quovel {

namespace {

using Open = std::vector<std::unique_ptr<OpenNode>>;

// The innermost open node ended: its parent goes on with what stands in its place. A parent that fails to make that
// ends too; the failure that no node is left to hold leaves.
void close_failed(Tree& tree, Open& open, HalconCpp::HException failure) {
  for (;;) {
    open.pop_back();
    if (open.empty()) throw failure;
    OpenNode& parent = *open.back();
    try {
      return tree.append_child(parent.node(), parent.replace_failed(failure));
    } catch (const HalconCpp::HException& next) {
      failure = next;
    }
  }
}

// Begins the next child of the innermost open node.
void build_next(Tree& tree, Open& open) {
  OpenNode& parent = *open.back();
  Begun child = parent.begin_next();
  if (child.finished)
    tree.append_child(parent.node(), *child.finished);
  else
    open.push_back(std::move(child.open));
}

}  // namespace

Node& finish_node(Tree& tree, Begun begun) {
  if (begun.finished) return *begun.finished;
  Open open;
  open.push_back(std::move(begun.open));
  for (;;) {
    if (open.back()->has_more()) {
      try {
        build_next(tree, open);
      } catch (const HalconCpp::HException& failure) {
        close_failed(tree, open, failure);
      }
      continue;
    }
    Node& done = open.back()->node();
    open.pop_back();
    if (open.empty()) return done;
    tree.append_child(open.back()->node(), done);
  }
}

}  // namespace quovel
