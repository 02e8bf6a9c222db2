// Nodes of control tuples.
#ifndef QUOVEL_CONTENT_TUPLE_BUILDER_H
#define QUOVEL_CONTENT_TUPLE_BUILDER_H

#include "HalconCpp.h"
#include "tree/element_types.h"
#include "tree/node.h"
#include "tree/work.h"

namespace quovel {

// Fills the node from the tuple, whose types are `types`. Plain values give a value node, which keeps the tuple. A
// tuple that is one matrix or one 3D object model gives the node of that handle. Any other tuple with handles gives an
// array, one child per element; its dictionaries are left to the list, and other handles are "<unsupported handle>"
// nodes.
void build_tuple_node(Tree& tree, Node& node, HalconCpp::HTuple tuple, const ElementTypes& types, WorkList& list);

}  // namespace quovel

#endif
