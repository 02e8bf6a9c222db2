// Stored values as a file of NumPy (.npy, format 1.0).
#ifndef QUOVEL_HOST_NPY_FILE_H
#define QUOVEL_HOST_NPY_FILE_H

#include <string>

#include "stored_image.h"

namespace host {

// Height x width, or height x width x channels.
std::string make_npy(const StoredImage& image);

}  // namespace host

#endif
