// One object of an object node, by its 0-based number.
#ifndef QUOVEL_EXTRACT_SELECTION_H
#define QUOVEL_EXTRACT_SELECTION_H

#include <cstdint>

#include "HalconCpp.h"
#include "tree/node.h"

namespace quovel {

// Whether the node is an object node with an object of that number.
bool has_object(const Node& node, std::int32_t index) noexcept;

// The object; `has_object` holds. HALCON refuses a node that stands for a handle.
HalconCpp::HObject select_object(const Node& node, std::int32_t index);

}  // namespace quovel

#endif
