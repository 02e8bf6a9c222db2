// Writing the objects of object nodes to files.
#ifndef QUOVEL_OUTPUT_SAVE_H
#define QUOVEL_OUTPUT_SAVE_H

#include <span>
#include <string>

#include "tree/node.h"

namespace quovel {

// Writes all objects of the node in the format that the path's extension asks for. False for a node of another kind,
// and, with `error`, when HALCON refuses.
bool save_object_as(const Node& node, const std::u16string& path, std::u16string& error);

// Writes the objects of all nodes to one object file, in order. The first node decides whether there is anything to
// write; later ones that are null or of another kind are left out.
bool save_objects_as(std::span<const Node* const> nodes, const std::u16string& path, std::u16string& error);

}  // namespace quovel

#endif
