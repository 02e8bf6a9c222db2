// One image as the content of a file that the library writes.
#ifndef QUOVEL_HOST_SAVED_IMAGE_H
#define QUOVEL_HOST_SAVED_IMAGE_H

#include <cstdint>
#include <string>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "session.h"

namespace host {

// Image `index` of an object node, as stored, in the format of the extension (".tif", ".png"), by way of a temporary
// file. Pixels outside of the domain are 0. Throws Failure.
std::string saved_image(const Session& session, const qv_node* node, std::int32_t index, const std::string& extension);

}  // namespace host

#endif
