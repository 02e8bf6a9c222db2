// One object of a node, drawn into a file of its own.
#ifndef QUOVEL_HOST_EXTRACT_FILE_H
#define QUOVEL_HOST_EXTRACT_FILE_H

#include <cstdint>
#include <string>

#include "session.h"

namespace host {

// ".png" takes an image; ".csv" (a line of names, then one point or run per line) and ".svg" (in image coordinates)
// take geometry. Throws Failure.
void extract_to_file(const Session& session, const qv_node* node, std::int32_t index, const std::string& path);

}  // namespace host

#endif
