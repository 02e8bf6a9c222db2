// Going through a tree without recursion, however deep it is.
#ifndef QUOVEL_HOST_WALK_H
#define QUOVEL_HOST_WALK_H

#include <cstdint>
#include <vector>

#include "quovel_adapter.h"

namespace host {

// A node on the way from the root.
struct Step {
  const qv_node* node;
  int32_t children;  // to be visited: 0 when `enter` said not to go below
  int32_t next = 0;  // the child to be visited next
};

// Calls enter(steps) when a node is reached and leave(steps) when all below it is done; the last step is the node.
// `enter` tells whether to go below.
template <class Enter, class Leave>
void walk(const qv_node* root, Enter enter, Leave leave) {
  std::vector<Step> steps;
  const auto reach = [&](const qv_node* node) {
    steps.push_back({node, static_cast<int32_t>(qv_node_child_count(node))});
    if (!enter(steps)) steps.back().children = 0;
  };
  reach(root);
  while (!steps.empty()) {
    Step& step = steps.back();
    if (step.next < step.children) {
      reach(qv_node_child_at(step.node, step.next++));
    } else {
      leave(steps);
      steps.pop_back();
    }
  }
}

}  // namespace host

#endif
