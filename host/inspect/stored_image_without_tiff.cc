// For builds without libtiff.
#include "stored_image.h"

namespace host {

StoredImage stored_image(const Session&, const qv_node*, std::int32_t) {
  throw Failure("this program was built without libtiff, by which stored values are read");
}

}  // namespace host
