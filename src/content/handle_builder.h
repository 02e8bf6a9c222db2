// Nodes of handles, by the keys that HALCON lists for them.
#ifndef QUOVEL_CONTENT_HANDLE_BUILDER_H
#define QUOVEL_CONTENT_HANDLE_BUILDER_H

#include "HalconCpp.h"
#include "tree/node.h"
#include "tree/work.h"

namespace quovel {

// Handles that lie deeper are not expanded: what a handle lists may lead back to itself.
inline constexpr int max_handle_depth = 32;

// Fills the node from the handle (a tuple of one) that lies `depth` handles below the file's own, and adds to the list
// what makes its children, one per key. A key that fails is left out. A handle that lists no keys is shown as a whole.
// Lets no HException out.
void build_handle_node(Tree& tree, Node& node, const HalconCpp::HTuple& handle, int depth, WorkList& list);

}  // namespace quovel

#endif
