// Errors for files that an operator cannot read, which say what can.
#ifndef HALCONCPP_CONTAINER_UNKNOWN_FILE_H
#define HALCONCPP_CONTAINER_UNKNOWN_FILE_H

#include <string_view>

#include "container/format.h"

namespace HalconCpp::detail {

// "holds a dictionary: ReadDict opens it"
[[noreturn]] void reject_root(container::HandleKind root);

// The kinds of files that operators read: values for `wanted` below.
inline constexpr std::string_view object_file = "an object file", image_file = "an image file",
                                  dict_file = "a dictionary file", model3d_file = "a 3D model file",
                                  dl_model_file = "a deep-learning model file";

// For a file that has no format of the operator: names the operator that opens it, by its content or its extension, or
// says that the file may be one of an installed HALCON.
[[noreturn]] void reject_file(std::string_view path, std::string_view wanted);

}  // namespace HalconCpp::detail

#endif
