// The directories of a TIFF file, as "TIFF Revision 6.0" (Adobe, 1992) and BigTIFF lay them out.
#ifndef HALCONCPP_IMAGES_TIFF_DIRECTORIES_H
#define HALCONCPP_IMAGES_TIFF_DIRECTORIES_H

#include "images/codec.h"

namespace HalconCpp::detail {

// Fails when the directories of the file name more values than it can hold. libtiff reads the values of each directory
// anew: directories that share long values would cost their number times the length of the values. What else is wrong
// with them is left for libtiff to find.
void check_tiff_directories(Bytes file);

}  // namespace HalconCpp::detail

#endif
