// Nodes of dictionaries.
#ifndef QUOVEL_TREE_DICT_BUILDER_H
#define QUOVEL_TREE_DICT_BUILDER_H

#include "HalconCpp.h"
#include "tree/node.h"
#include "tree/work.h"

namespace quovel {

// Makes the node a dictionary, and adds to the list what makes its children: one per key, in HALCON's order. Fails only
// when the keys cannot be listed, and then leaves the node as it was. An entry that fails becomes an "<error>" node.
void build_dict_node(Tree& tree, Node& node, const HalconCpp::HDict& dict, WorkList& list);

}  // namespace quovel

#endif
