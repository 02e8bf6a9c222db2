// The built-in container: the file format of this provider for iconic objects and for handles (dictionaries, matrices,
// 3D models, deep-learning models) with everything they hold. It is a format of our own; files of an installed HALCON
// are not read. What is written reads back equal to the last bit; a handle that stands at several places reads back as
// several equal handles.
//
// All of these fail with reasons that can follow the quoted file name: call them inside `in_file`.
#ifndef HALCONCPP_CONTAINER_CONTAINER_H
#define HALCONCPP_CONTAINER_CONTAINER_H

#include <string_view>

#include "HalconCpp.h"

namespace HalconCpp::detail {

// Looks at the first bytes only. Rejects a file that cannot be opened or is empty.
bool is_container(std::string_view path);

// Rejects a file that is of no format its operator knows. The reason depends on the extension: one of HALCON's own
// hints at an installed HALCON.
[[noreturn]] void reject_foreign_file(std::string_view path);

// Reject a file that is no container (as `reject_foreign_file`) or holds something else. `semantic_type` is "dict",
// "matrix", "object_model_3d" or "dl_model".
HHandle read_container_handle(std::string_view path, std::string_view semantic_type);
HObject read_container_objects(std::string_view path);

// Reject content that the format does not hold, by its key. A failure leaves a file of that name as it was.
void write_container_handle(std::string_view path, const HandleData& handle);
void write_container_objects(std::string_view path, const HObject& objects);

}  // namespace HalconCpp::detail

#endif
