// Images like photos: soft shapes under light and noise.
#ifndef QUOVEL_BENCH_IMAGES_H
#define QUOVEL_BENCH_IMAGES_H

#include <cstddef>

#include "HalconCpp.h"

namespace bench {

// 12 megapixels.
inline constexpr int photo_width = 4000, photo_height = 3000;
inline constexpr std::size_t photo_pixels = std::size_t{photo_width} * photo_height;

// `type` is "byte" or "uint2".
HalconCpp::HObject photo(const char* type, int channels, int width = photo_width, int height = photo_height);

}  // namespace bench

#endif
