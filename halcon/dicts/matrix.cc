#include "dicts/matrix.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <new>
#include <string>
#include <utility>

#include "HalconCreate.h"
#include "core/access.h"
#include "core/arguments.h"
#include "core/buffer.h"
#include "core/failure.h"
#include "core/limits.h"

namespace HalconCpp {

namespace detail {

HHandle new_matrix(Hlong rows, Hlong columns, HTuple values) {
  if (columns == 0 && rows > limits::empty_rows)
    fail("a matrix without columns has more than " + std::to_string(limits::empty_rows) + " rows");
  const bool has_size =
      rows >= 0 && columns >= 0 && (columns == 0 || rows <= std::numeric_limits<Hlong>::max() / columns);
  const TupleKind kind = Access::common_kind(values);
  if (!has_size || rows * columns != values.Length() || (kind != TupleKind::Real && kind != TupleKind::Empty))
    fail("the values of a matrix do not fit its size");
  auto* data = new MatrixData;
  HHandle matrix = Access::wrap(data);
  data->rows = rows;
  data->columns = columns;
  data->values = std::move(values);
  return matrix;
}

}  // namespace detail

using namespace detail;

namespace {

constexpr Hlong max_elements = std::numeric_limits<Hlong>::max() / sizeof(double);

const MatrixData& matrix_of(const HTuple& matrix) {
  return handle_cast<MatrixData>(handle_argument(matrix, "the matrix"));
}

double number_at(const HTuple& values, Hlong index) {
  const TupleKind kind = Access::element_kind(values, index);
  if (kind != TupleKind::Real && kind != TupleKind::Integer) fail("a matrix holds numbers only");
  return values[index].D();
}

// `count` reals, from one number for all or one number each.
HTuple matrix_values(const HTuple& values, Hlong count) {
  if (values.Length() != 1 && values.Length() != count)
    fail(std::to_string(count) + " elements need as many values or one, not " + std::to_string(values.Length()));
  Buffer<double> reals(static_cast<std::size_t>(count));
  if (values.Length() == 1)
    std::fill(reals.begin(), reals.end(), number_at(values, 0));
  else
    for (Hlong i = 0; i < count; ++i) reals[static_cast<std::size_t>(i)] = number_at(values, i);
  return Access::reals(std::move(reals));
}

}  // namespace

void CreateMatrix(const HTuple& rows, const HTuple& columns, const HTuple& value, HTuple* matrix) {
  operate("CreateMatrix", [&] {
    const Hlong height = integer_argument(rows, "the number of rows", 0, max_elements);
    const Hlong width = integer_argument(columns, "the number of columns", 0, max_elements);
    if (width != 0 && height > max_elements / width) throw std::bad_alloc();
    *matrix = Access::handle_tuple(new_matrix(height, width, matrix_values(value, height * width)));
  });
}

void GetSizeMatrix(const HTuple& matrix, HTuple* rows, HTuple* columns) {
  operate("GetSizeMatrix", [&] {
    const MatrixData& data = matrix_of(matrix);
    const Hlong height = data.rows;
    const Hlong width = data.columns;
    *rows = height;  // an output may be the tuple that holds the matrix
    *columns = width;
  });
}

void GetFullMatrix(const HTuple& matrix, HTuple* values) {
  operate("GetFullMatrix", [&] { *values = matrix_of(matrix).values; });
}

}  // namespace HalconCpp
