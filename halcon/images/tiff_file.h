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

// Rejects with libtiff's own reason. `source`, `sink` and `messages` must outlive the handle.
TiffHandle open_tiff(MemorySource& source, TiffMessages& messages);
TiffHandle create_tiff(MemorySink& sink, bool big, TiffMessages& messages);

[[noreturn]] void reject_tiff(const TiffMessages& messages);

}  // namespace HalconCpp::detail

#endif
