// The builders that every loader shares. They call one another by what they meet, so their declarations stand together.
//
// Each makes one finished node in `tree` from HALCON data; the label is a text of that tree. Unless said otherwise, an
// HException means that the node could not be made. None of them grows the call stack with the nesting of the data.
#ifndef QUOVEL_TREE_BUILDERS_H
#define QUOVEL_TREE_BUILDERS_H

#include "HalconCpp.h"
#include "tree/node.h"

namespace quovel {

// tree/: a dictionary, one child per key. Fails only when its keys cannot be listed; everything below becomes an entry.
Node& build_dict_node(Tree& tree, const HalconCpp::HDict& dict, Text label, PathSegment segment);

// tree/: the label of an entry, made from its key (a tuple of one); "<unreadable key>" when HALCON refuses.
Text key_text(Tree& tree, const HalconCpp::HTuple& key);

// tree/: entries that could not be built, or that hold what no builder knows.
Node& make_error_node(Tree& tree, Text label, const HalconCpp::HException& failure);
Node& make_unsupported_node(Tree& tree, Text label, const HalconCpp::HString& data_type);

// content/: a tuple. A value node; an array node when it holds handles; the node of the matrix or 3D model that it is.
Node& build_tuple_node(Tree& tree, const HalconCpp::HTuple& tuple, Text label, PathSegment segment);

// content/: the value node of one integer, real or string, which takes over the tuple; null for any other tuple.
Node* build_plain_value(Tree& tree, HalconCpp::HTuple& tuple, Text label, PathSegment segment);

// content/: a handle by its keys, or shown as a whole when it has none or lies deeper than max_handle_depth. Never
// fails.
inline constexpr int max_handle_depth = 32;
Node& build_handle_node(Tree& tree, const HalconCpp::HTuple& handle, Text label, PathSegment segment, int depth);

// content/: one matrix, one 3D object model, each shown as a whole with detail lines. `handle` is a tuple of one.
Node& build_matrix_node(Tree& tree, const HalconCpp::HTuple& handle, Text label, PathSegment segment);
Node& build_object_model_3d_node(Tree& tree, const HalconCpp::HTuple& handle, Text label, PathSegment segment);

// iconic/: an object tuple.
Node& build_object_node(Tree& tree, const HalconCpp::HObject& object, Text label, PathSegment segment);

}  // namespace quovel

#endif
