// Walks a tree of any depth without recursion.
#ifndef QUOVEL_HOST_WALK_H
#define QUOVEL_HOST_WALK_H

#include <cstdint>
#include <vector>

#include "quovel_adapter_2411/quovel_adapter.h"

namespace host {

// One node of the path from the root to the current node.
struct Step {
  const qv_node* node;
  int32_t children;  // their number; 0 if `enter` returned false
  int32_t next = 0;  // the child to be visited next; `children` after the last
  const qv_node* next_child = nullptr;
};

// Calls enter(steps) before and leave(steps) after the children of a node; the last step is the node. `enter` returns
// whether to visit its children, `keep` tells which of them; the root is always visited.
template <class Keep, class Enter, class Leave>
void walk(const qv_node* root, Keep keep, Enter enter, Leave leave) {
  std::vector<Step> steps;
  const auto skip = [&](Step& step) {
    for (; step.next < step.children; ++step.next)
      if (keep(step.next_child = qv_node_child_at(step.node, step.next))) return;
  };
  const auto reach = [&](const qv_node* node) {
    steps.push_back({node, static_cast<int32_t>(qv_node_child_count(node))});
    if (!enter(steps)) steps.back().children = 0;
    skip(steps.back());
  };
  reach(root);
  while (!steps.empty()) {
    Step& step = steps.back();
    if (step.next < step.children) {
      const qv_node* const child = step.next_child;
      ++step.next;
      skip(step);
      reach(child);
    } else {
      leave(steps);
      steps.pop_back();
    }
  }
}

// Calls enter(steps) for every node, before its children.
template <class Enter>
void walk(const qv_node* root, Enter enter) {
  walk(
      root, [](const qv_node*) { return true; }, enter, [](const std::vector<Step>&) {});
}

}  // namespace host

#endif
