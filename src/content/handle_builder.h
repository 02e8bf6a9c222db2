// Nodes of handles, by the keys that HALCON lists for them.
#ifndef QUOVEL_CONTENT_HANDLE_BUILDER_H
#define QUOVEL_CONTENT_HANDLE_BUILDER_H

#include "HalconCpp.h"
#include "tree/node.h"
#include "tree/work.h"

namespace quovel {

// Handles that lie deeper are not expanded: what a handle lists may lead back to itself.
inline constexpr int max_handle_depth = 32;

// Makes the node stand for the handle (a tuple of one) that lies `depth` handles below the file's own, and leaves one
// child per key to the list. A key that fails is left out. A handle that lists no keys is shown as a whole. Never fails
// for a reason of HALCON's.
void build_handle_node(Tree& tree, Node& node, const HalconCpp::HTuple& handle, int depth, WorkList& list);

}  // namespace quovel

#endif
