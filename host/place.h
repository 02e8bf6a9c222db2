// Where a node stands in its tree: "/0" the first child of an object file, "/parts/2" by keys and indices; "/" the
// root.
// "~1" stands for a '/' in a key, "~0" for a '~', "~" alone for the empty key.
#ifndef QUOVEL_HOST_PLACE_H
#define QUOVEL_HOST_PLACE_H

#include <string>
#include <vector>

#include "walk.h"

namespace host {

// Throws Failure when there is no such node.
const qv_node* find_node(const qv_node* root, const std::string& place);
// One segment of such a place, that of `node` in its parent.
std::string place_segment(const qv_node* node);
// The place of the last of the steps.
std::string place_of(const std::vector<Step>& steps);

}  // namespace host

#endif
