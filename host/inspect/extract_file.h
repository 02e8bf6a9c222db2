// One object of a node as the content of a file.
#ifndef QUOVEL_HOST_EXTRACT_FILE_H
#define QUOVEL_HOST_EXTRACT_FILE_H

#include <cstdint>
#include <string>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "session.h"

namespace host {

// The content for a file of this path, by its extension: ".png" takes an image as it is drawn, or of 16 bits as it is
// stored; ".tif" and ".npy" (of NumPy) the stored values; ".csv" (a line of names, then one point
// or run per line) and ".svg" (in image coordinates) take geometry. Throws Failure.
std::string extracted_content(const Session& session, const qv_node* node, std::int32_t index, const std::string& path);

}  // namespace host

#endif
