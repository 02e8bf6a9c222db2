// What a JPEG 2000 file says of itself, looked at before OpenJPEG allocates anything for it.
#ifndef HALCONCPP_IMAGES_JP2_CLAIMS_H
#define HALCONCPP_IMAGES_JP2_CLAIMS_H

#include "images/codec.h"

namespace HalconCpp::detail {

struct Jp2Claims {
  bool boxed = false;         // a JP2 file, no bare codestream
  bool gray_palette = false;  // its palette holds grays only
};

// Rejects a file that is cut short, that misses tiles, or whose claims about size, tiles, packets and code-blocks would
// take memory out of proportion to its bytes.
Jp2Claims check_jp2(Bytes file);

}  // namespace HalconCpp::detail

#endif
