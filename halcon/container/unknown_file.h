// Errors for files that an operator cannot read, which say what can.
#ifndef HALCONCPP_CONTAINER_UNKNOWN_FILE_H
#define HALCONCPP_CONTAINER_UNKNOWN_FILE_H

#include <string_view>

#include "container/format.h"

namespace HalconCpp::detail {

// "holds a dictionary: ReadDict opens it"
[[noreturn]] void reject_root(container::HandleKind root);

// For a file that has no format of the operator: names the operator that opens it, by its content or its extension, or
// says that the file may be one of an installed HALCON. `wanted` is what the operator reads ("an image file").
[[noreturn]] void reject_file(std::string_view path, std::string_view wanted);

}  // namespace HalconCpp::detail

#endif
