#include "dicts/matrix.h"

#include <algorithm>
#include <limits>
#include <typeinfo>

#include "HalconCreate.h"
#include "core/arguments.h"
#include "core/failure.h"
#include "core/limits.h"
#include "dicts/entry_queries.h"

namespace HalconCpp {

using detail::Access;
using detail::ArrayKind;
using detail::TupleKind;

namespace {

constexpr Hlong most_elements = std::numeric_limits<Hlong>::max() / sizeof(double);

const detail::MatrixData& matrix_of(const HTuple& matrix) {
  const detail::HandleData& data = detail::handle_argument(matrix, "the matrix");
  if (typeid(data) != typeid(detail::MatrixData))
    detail::fail("a handle of type " + detail::quoted(data.semantic_type()) + " is no matrix");
  return static_cast<const detail::MatrixData&>(data);
}

double number_at(const HTuple& values, Hlong index) {
  const HTuple value = Access::element(values, index);
  if (Access::kind(value) == TupleKind::Real) return Access::real(value);
  if (Access::kind(value) != TupleKind::Integer) detail::fail("a matrix holds numbers only");
  return static_cast<double>(Access::integer(value));
}

bool are_reals(const HTuple& values) {
  return Access::kind(values) == TupleKind::Array && Access::array(values).kind == ArrayKind::Reals;
}

// `count` reals, from one number for all or one number each.
HTuple matrix_values(const HTuple& values, Hlong count) {
  if (values.Length() == count && are_reals(values)) return values;
  if (values.Length() != 1 && values.Length() != count)
    detail::fail(std::to_string(count) + " elements need as many values or one, not " +
                 std::to_string(values.Length()));
  detail::Buffer<double> reals(static_cast<std::size_t>(count));
  if (values.Length() == 1)
    std::fill(reals.begin(), reals.end(), number_at(values, 0));
  else
    for (Hlong i = 0; i < count; ++i) reals[static_cast<std::size_t>(i)] = number_at(values, i);
  return Access::reals(std::move(reals));
}

}  // namespace

void CreateMatrix(const HTuple& rows, const HTuple& columns, const HTuple& value, HTuple* matrix) {
  detail::operate("CreateMatrix", [&] {
    const Hlong height = detail::integer_argument(rows, "the number of rows", 0, most_elements);
    const Hlong width = detail::integer_argument(columns, "the number of columns", 0, most_elements);
    if (width == 0 && height > detail::limits::empty_rows)
      detail::fail("a matrix without columns has more than " + std::to_string(detail::limits::empty_rows) + " rows");
    if (width != 0 && height > most_elements / width) throw std::bad_alloc();
    HTuple values = matrix_values(value, height * width);
    auto* made = new detail::MatrixData;
    made->rows = height;
    made->columns = width;
    made->values = std::move(values);
    *matrix = Access::handle_tuple(Access::wrap(made));
  });
}

void GetSizeMatrix(const HTuple& matrix, HTuple* rows, HTuple* columns) {
  detail::operate("GetSizeMatrix", [&] {
    const detail::MatrixData& data = matrix_of(matrix);
    const Hlong height = data.rows;
    const Hlong width = data.columns;
    *rows = height;  // an output may be the tuple that holds the matrix
    *columns = width;
  });
}

void GetFullMatrix(const HTuple& matrix, HTuple* values) {
  detail::operate("GetFullMatrix", [&] { *values = matrix_of(matrix).values; });
}

}  // namespace HalconCpp
