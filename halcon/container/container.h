// The built-in container: one file format, our own, for iconic objects and for handles (dictionaries, matrices, 3D
// models, deep-learning models) with everything in them. Files of an installed HALCON have other formats, which are not
// public. What is written reads back equal to the last bit; a handle that is referred to several times reads back as
// several equal handles.
//
// Every failure has a reason that can follow the quoted file name: call these functions inside `in_file`.
#ifndef HALCONCPP_CONTAINER_CONTAINER_H
#define HALCONCPP_CONTAINER_CONTAINER_H

#include <string_view>

#include "HalconCpp.h"
#include "container/format.h"
#include "core/handle_data.h"

namespace HalconCpp::detail {

// Reads only the first bytes. Fails when the file cannot be opened or is empty.
bool is_container(std::string_view path);
// The kind of the root of a container; None for iconic objects.
container::HandleKind container_root(std::string_view path);

// Read a container; fail when its root is of another kind.
HHandle read_container_handle(std::string_view path, container::HandleKind root);
HObject read_container_objects(std::string_view path);

// Fail, naming the key, for content that the format does not hold. A failure leaves an existing file as it was.
void write_container_handle(std::string_view path, const HandleData& handle);
void write_container_objects(std::string_view path, const HObject& objects);

}  // namespace HalconCpp::detail

#endif
