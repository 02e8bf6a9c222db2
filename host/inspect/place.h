// Where a node stands in its tree: "/0" the first child of an object file, "/parts/2" by keys and indices; "/" the
// root.
// "~1" stands for a '/' in a key, "~0" for a '~', "~" alone for the empty key.
#ifndef QUOVEL_HOST_PLACE_H
#define QUOVEL_HOST_PLACE_H

#include <string>
#include <string_view>
#include <vector>

#include "walk.h"

namespace host {

// Throws Failure when there is no such node.
const qv_node* find_node(const qv_node* root, const std::string& place);
// One segment of such a place, that of `node` in its parent.
std::string place_segment(const qv_node* node);

// The place where a walk stands. Most of it stays from one node to the next.
class Place {
 public:
  // The place of the last of the steps; to be called for every node that is reached.
  std::string_view of(const std::vector<Step>& steps);

 private:
  std::string text_;
  std::vector<std::size_t> ends_;  // where the place of each step ends in the text
};

}  // namespace host

#endif
