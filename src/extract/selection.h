// Whether a node has an object of a number.
#ifndef QUOVEL_EXTRACT_SELECTION_H
#define QUOVEL_EXTRACT_SELECTION_H

#include <cstdint>

#include "tree/node.h"

namespace quovel {

// True for object nodes whose `object_count` is above `index`, which counts from 0. A node that stands for a handle
// counts as one object, which HALCON then reports as missing.
bool has_object(const Node& node, std::int32_t index) noexcept;

}  // namespace quovel

#endif
