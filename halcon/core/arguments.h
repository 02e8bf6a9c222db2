// Reads the control parameters of an operator. Each function fails with an error that begins with `name`, the words for
// the parameter ("the file name").
#ifndef HALCONCPP_CORE_ARGUMENTS_H
#define HALCONCPP_CORE_ARGUMENTS_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "HalconCpp.h"
#include "core/handle_data.h"

namespace HalconCpp::detail {

// One integer from `low` to `high`, both included.
Hlong integer_argument(const HTuple& value, const char* name, Hlong low, Hlong high);
// One string; the view lives as long as the tuple.
std::string_view text_argument(const HTuple& value, const char* name);
// One handle that is not empty.
HandleData& handle_argument(const HTuple& value, const char* name);
// Any number of integers and reals.
std::vector<double> number_arguments(const HTuple& values, const char* name);
// The same, rounded to the nearest pixel.
std::vector<std::int32_t> coordinate_arguments(const HTuple& values, const char* name);

}  // namespace HalconCpp::detail

#endif
