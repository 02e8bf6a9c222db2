#include "core/arguments.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <string>

#include "core/access.h"
#include "core/failure.h"

namespace HalconCpp::detail {

Hlong integer_argument(const HTuple& value, const char* name, Hlong low, Hlong high) {
  if (Access::kind(value) != TupleKind::Integer) fail(std::string(name) + " must be one integer");
  const Hlong integer = Access::integer(value);
  if (integer < low || integer > high)
    fail(std::string(name) + " is " + std::to_string(integer) + "; " + std::to_string(low) + " to " +
         std::to_string(high) + " is possible");
  return integer;
}

std::string_view text_argument(const HTuple& value, const char* name) {
  if (Access::kind(value) != TupleKind::String) fail(std::string(name) + " must be one string");
  return Access::text(value);
}

HandleData& handle_argument(const HTuple& value, const char* name) {
  if (Access::kind(value) != TupleKind::Handle) fail(std::string(name) + " must be one handle");
  if (!Access::handle_data(value)) fail(std::string(name) + " is an empty handle");
  return *Access::handle_data(value);
}

std::vector<double> number_arguments(const HTuple& values, const char* name) {
  const Hlong count = values.Length();
  std::vector<double> numbers;
  numbers.reserve(static_cast<std::size_t>(count));
  for (Hlong i = 0; i < count; ++i) {
    const TupleKind kind = Access::element_kind(values, i);
    if (kind != TupleKind::Integer && kind != TupleKind::Real) fail(std::string(name) + " must hold numbers only");
    numbers.push_back(values[i].D());
  }
  return numbers;
}

std::vector<std::int32_t> coordinate_arguments(const HTuple& values, const char* name) {
  using Limits = std::numeric_limits<std::int32_t>;
  std::vector<std::int32_t> coordinates;
  coordinates.reserve(static_cast<std::size_t>(values.Length()));
  for (const double number : number_arguments(values, name)) {
    const double rounded = std::round(number);
    if (!(rounded >= Limits::min() && rounded <= Limits::max()))
      fail(std::string(name) + " holds a coordinate outside 32 bits");
    coordinates.push_back(static_cast<std::int32_t>(rounded));
  }
  return coordinates;
}

}  // namespace HalconCpp::detail
