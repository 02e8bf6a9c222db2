// Iconic objects as all rooms take them: what a node holds, one object of a tuple, and the domain of an image.
#ifndef QUOVEL_TREE_OBJECTS_H
#define QUOVEL_TREE_OBJECTS_H

#include <optional>

#include "HalconCpp.h"
#include "tree/node.h"

namespace quovel {

// All objects of the node. For a node that has none the result is unset, and every operator rejects it.
HalconCpp::HObject held_object(const Node& node);

// One object of a tuple; `index` counts from 0, HALCON's own from 1.
HalconCpp::HObject select_object(const HalconCpp::HObject& objects, HalconCpp::Hlong index);

// The domain of an image of width x height pixels; nothing when it covers all of them.
std::optional<HalconCpp::HRegion> partial_domain(const HalconCpp::HImage& image, HalconCpp::Hlong width,
                                                 HalconCpp::Hlong height);

}  // namespace quovel

#endif
