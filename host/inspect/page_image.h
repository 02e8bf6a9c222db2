// An image as the page holds it: the stored values, of a large image their means, and the domain.
#ifndef QUOVEL_HOST_PAGE_IMAGE_H
#define QUOVEL_HOST_PAGE_IMAGE_H

#include <cstdint>
#include <string>
#include <vector>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "session.h"
#include "stored_image.h"

namespace host {

struct PageImage {
  StoredImage image;
  std::vector<std::uint8_t> domain;     // per pixel 255 inside and 0 outside; empty when it is not known or covers all
  std::uint32_t width = 0, height = 0;  // of the image, in pixels
  std::uint32_t step = 1;               // each value of `image` is the mean of step x step values
  std::string drawn_because;            // why the values are the 8-bit ones that the library draws; empty: as stored
};

// Image `index` of an object node, in at most `max_pixels` pixels and 16384 rows and columns. Throws Failure with the
// reason if it cannot be drawn.
PageImage page_image(const Session& session, const qv_node* node, std::int32_t index, std::uint64_t max_pixels);

// The means of step x step values; at the right and the lower edge of what is left. NaN is left out of a mean.
StoredImage reduced(const StoredImage& image, std::uint32_t step);

// What the script of the page reads: zlib data. Each value, taken as an unsigned integer, is its difference to the
// value on its left, modulo 2^bits. The lowest bytes of all differences come first. Values of 8 bytes are neither.
std::string packed(const StoredImage& image);

// "u1", "f4" and so on.
std::string sample_type_name(SampleType type);

}  // namespace host

#endif
