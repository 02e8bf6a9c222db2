// The compressed pixels of GIF pictures whose codes giflib does not read.
#ifndef HALCONCPP_IMAGES_GIF_CODES_H
#define HALCONCPP_IMAGES_GIF_CODES_H

#include <cstddef>
#include <span>

namespace HalconCpp::detail {

// `picture` is the Table Based Image Data up to the end of the file, starting with the LZW Minimum Code Size. giflib
// accepts sizes up to 8; writers exist that use 9 to 11, and viewers show their files. Such codes are rewritten in
// place as those of size 8, which need fewer bits. Rejects pixel values above 255. Other data stays as it is.
void narrow_codes(std::span<std::byte> picture);

}  // namespace HalconCpp::detail

#endif
