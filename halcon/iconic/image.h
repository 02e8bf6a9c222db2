// Images: one plane of pixels per channel, all of one type and size, and a domain.
#ifndef HALCONCPP_ICONIC_IMAGE_H
#define HALCONCPP_ICONIC_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "core/buffer.h"
#include "iconic/object_data.h"
#include "iconic/plane.h"
#include "iconic/region.h"

namespace HalconCpp::detail {

struct Image final : IconicObject {
  static constexpr ObjectClass kind = ObjectClass::Image;
  Image(PixelType t, std::int32_t w, std::int32_t h, std::vector<Plane> planes, RunsRef d = nullptr) noexcept
      : IconicObject(kind), type(t), width(w), height(h), channels(std::move(planes)), domain(std::move(d)) {}

  std::size_t pixels() const noexcept { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
  template <class T>
  const T* plane(std::size_t channel) const {
    return reinterpret_cast<const T*>(channels[channel]->data());
  }

  PixelType type;
  std::int32_t width;           // at least 1
  std::int32_t height;          // at least 1
  std::vector<Plane> channels;  // at least one
  RunsRef domain;               // null: the whole frame; otherwise inside it
};

using ImageRef = std::shared_ptr<const Image>;

// An image of the same planes with that domain; runs that cover the whole frame become null.
ImageRef with_domain(const Image& image, RunsRef domain);

// Rejects a size beyond the limits of core/limits.h, or one that a file of `file_bytes` bytes cannot decompress to.
// Call it before anything is allocated.
void check_image_size(std::uint64_t width, std::uint64_t height, std::uint64_t channels, PixelType type,
                      std::uint64_t file_bytes);

// An image under construction: planes of the final size, not yet filled. Its size has passed `check_image_size`.
class ImageDraft {
 public:
  ImageDraft(PixelType type, std::int32_t width, std::int32_t height, std::size_t channels);

  template <class T>
  T* plane(std::size_t channel) noexcept {
    return reinterpret_cast<T*>(planes_[channel].data());
  }
  std::size_t channels() const noexcept { return planes_.size(); }
  std::size_t plane_bytes() const noexcept { return planes_[0].size(); }
  // Removes all channels after the first `count`, as for a palette whose colors turn out to be gray.
  void keep_channels(std::size_t count) { planes_.resize(count); }
  void drop_channel(std::size_t channel) { planes_.erase(planes_.begin() + static_cast<std::ptrdiff_t>(channel)); }
  std::shared_ptr<const Image> finish(RunsRef domain = nullptr);

 private:
  PixelType type_;
  std::int32_t width_, height_;
  std::vector<Buffer<std::byte>> planes_;
};

}  // namespace HalconCpp::detail

#endif
