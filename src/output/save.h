// Writing the objects of object nodes to files.
#ifndef QUOVEL_OUTPUT_SAVE_H
#define QUOVEL_OUTPUT_SAVE_H

#include <span>
#include <string>

#include "tree/node.h"

namespace quovel {

// Both return false, and write nothing, when there is no object node to write, and throw what HALCON throws. A
// file that was partly written is left as HALCON leaves it.

// Writes all objects of the node in the format that the path's extension asks for.
bool save_object_as(const Node& node, const std::u16string& path);

// Writes the objects of all nodes to one object file, in order. The first node decides whether there is anything to
// write; later ones that are null or of another kind are left out. Takes time in proportion to the number of nodes.
bool save_objects_as(std::span<const Node* const> nodes, const std::u16string& path);

}  // namespace quovel

#endif
