// The address of a node in its tree, by keys and indices: "/parts/2", "/0" for the first child of an object file, "/"
// for the root. In a key, '/' is written as "~1" and '~' as "~0"; the empty key is "~".
#ifndef QUOVEL_HOST_PLACE_H
#define QUOVEL_HOST_PLACE_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "walk.h"

namespace host {

// Throws Failure when there is no such node.
const qv_node* find_node(const qv_node* root, const std::string& place);
// The segment that addresses `node` in its parent.
std::string place_segment(const qv_node* node);

// The place of the current node of a walk. It reuses the text of the previous place.
class Place {
 public:
  // The place of the last step; must be called for every node of the walk, in its order.
  std::string_view of(const std::vector<Step>& steps);

 private:
  std::string text_;
  std::vector<std::size_t> ends_;  // the length of the place of each step
};

}  // namespace host

#endif
