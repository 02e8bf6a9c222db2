// Matrices of reals.
#ifndef HALCONCPP_DICTS_MATRIX_H
#define HALCONCPP_DICTS_MATRIX_H

#include "core/access.h"

namespace HalconCpp::detail {

struct MatrixData final : HandleData {
  const char* semantic_type() const noexcept override { return "matrix"; }
  Hlong rows = 0;
  Hlong columns = 0;
  HTuple values;  // rows * columns reals, row by row
};

}  // namespace HalconCpp::detail

#endif
