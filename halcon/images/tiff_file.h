// libtiff on files in memory, with its messages kept.
#ifndef HALCONCPP_IMAGES_TIFF_FILE_H
#define HALCONCPP_IMAGES_TIFF_FILE_H

#include <tiffio.h>

#include <array>
#include <memory>

#include "images/memory_file.h"

namespace HalconCpp::detail {

// What libtiff says: the first error (the later ones follow from it) and the last warning, cut when they are long.
struct TiffMessages {
  std::array<char, 400> error{}, warning{};
  bool tag_lost = false;  // a tag was left out because the file ends before its value does
};

struct TiffCloser {
  void operator()(TIFF* tiff) const noexcept { TIFFClose(tiff); }
};
using TiffHandle = std::unique_ptr<TIFF, TiffCloser>;

// `mode` as TIFFOpen takes it: "r", or "w" and "w8" (64-bit offsets) for a file to be written. Rejects with libtiff's
// own reason. `file` and `messages` must outlive the handle.
TiffHandle open_tiff(MemoryFile& file, const char* mode, TiffMessages& messages);

[[noreturn]] void reject_tiff(const TiffMessages& messages);

}  // namespace HalconCpp::detail

#endif
