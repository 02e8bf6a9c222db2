// Matrices and 3D object models, each shown as a whole with detail lines. The nodes do not keep the handle.
#ifndef QUOVEL_CONTENT_HANDLE_SUMMARIES_H
#define QUOVEL_CONTENT_HANDLE_SUMMARIES_H

#include "HalconCpp.h"
#include "tree/node.h"

namespace quovel {

// `handle` is a tuple of one. The size as columns x rows, and a line per row of the matrix.
void build_matrix_node(Tree& tree, Node& node, const HalconCpp::HTuple& handle);

// The number of points, and one line that adds the extent, in the model's unit of length, and the primitive's type.
void build_object_model_3d_node(Tree& tree, Node& node, const HalconCpp::HTuple& handle);

}  // namespace quovel

#endif
