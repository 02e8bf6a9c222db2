// JPEG 2000 files, checked before OpenJPEG allocates anything for them. OpenJPEG gets exactly the bytes that were
// checked, because it would also read boxes that are misplaced, repeated or after the codestream, and would search for
// markers after those that it does not know.
#ifndef HALCONCPP_IMAGES_JP2_CHECK_H
#define HALCONCPP_IMAGES_JP2_CHECK_H

#include <cstddef>
#include <cstdint>

#include "core/buffer.h"
#include "images/codec.h"

namespace HalconCpp::detail {

// What OpenJPEG is to read: `boxes` (empty for a bare codestream), then `codestream`.
struct CheckedJp2 {
  Buffer<std::byte> boxes;          // our own: signature, file type, header, and the front of the codestream's box
  Bytes codestream;                 // in the file, up to its end marker
  std::uint64_t decoded_bytes = 0;  // of the samples in OpenJPEG, four for each
  bool gray_palette = false;        // three columns that hold grays only
};

// Rejects a file that is cut short, that misses tiles, or whose declared size, tiles, packets and code-blocks would
// take memory out of proportion to its bytes.
CheckedJp2 check_jp2(Bytes file);

}  // namespace HalconCpp::detail

#endif
