// Images whose pixels are decoded when they are asked for, not when their file is opened. What they decode to is kept
// in a cache of the process that holds limits::decoded_cache bytes and drops what was used longest ago. Safe to use
// from several threads: of those that ask for the same image at a time, one decodes.
#ifndef HALCONCPP_ICONIC_DEFERRED_IMAGE_H
#define HALCONCPP_ICONIC_DEFERRED_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

#include "iconic/image.h"
#include "iconic/plane.h"

namespace HalconCpp::detail {

// What the header of a file says of its image.
struct ImageShape {
  PixelType type;
  std::int32_t width, height;
  std::size_t channels;
  bool operator==(const ImageShape&) const = default;
  // At most limits::image_bytes, when the size has passed `check_image_size`.
  std::uint64_t bytes() const noexcept {
    return static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) * channels * pixel_size(type);
  }
};

ImageShape shape_of(const Image& image) noexcept;

// An image without pixels: each of its planes is deferred. `decode` gives an image of that shape with its pixels, or
// fails; it is called again when the cache has dropped them.
ImageRef deferred_image(const ImageShape& shape, std::function<ImageRef()> decode);

// A deferred plane's pixels, decoded if need be, as a plane that holds them; any other plane itself.
Plane with_pixels(const Plane& plane);

// The image for an operator that reads pixels: itself, or with the pixels of its deferred planes, as long as this
// lives.
class LoadedImage {
 public:
  explicit LoadedImage(const Image& image);
  const Image& operator*() const noexcept { return loaded_ ? *loaded_ : image_; }

 private:
  const Image& image_;
  std::optional<Image> loaded_;
};

}  // namespace HalconCpp::detail

#endif
