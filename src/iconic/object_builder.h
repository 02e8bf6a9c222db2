// Nodes of iconic objects.
#ifndef QUOVEL_ICONIC_OBJECT_BUILDER_H
#define QUOVEL_ICONIC_OBJECT_BUILDER_H

#include "HalconCpp.h"
#include "tree/node.h"

namespace quovel {

// Makes the node stand for a tuple of objects, which it keeps. The summary describes the first object, or all images
// together; a tuple of two or more has a detail line per object.
void build_object_node(Tree& tree, Node& node, const HalconCpp::HObject& objects);

}  // namespace quovel

#endif
