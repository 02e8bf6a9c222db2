// Matrices of reals.
#ifndef HALCONCPP_DICTS_MATRIX_H
#define HALCONCPP_DICTS_MATRIX_H

#include "HalconCpp.h"
#include "core/handle_data.h"

namespace HalconCpp::detail {

struct MatrixData final : HandleData {
  static constexpr const char* type = "matrix";
  static constexpr const char* name = "a matrix";
  const char* semantic_type() const noexcept override { return type; }
  Hlong rows = 0;
  Hlong columns = 0;
  HTuple values;  // rows * columns reals, row by row
};

// Fails when the values are not rows * columns reals, or the size is not one that a matrix can have.
HHandle new_matrix(Hlong rows, Hlong columns, HTuple values);

}  // namespace HalconCpp::detail

#endif
