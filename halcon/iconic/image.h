// Images: one plane of pixels per channel, all of one type and size, and a domain.
#ifndef HALCONCPP_ICONIC_IMAGE_H
#define HALCONCPP_ICONIC_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "core/buffer.h"
#include "iconic/region.h"

namespace HalconCpp::detail {

// byte: 8 bits unsigned; int1: 8 bits signed; int2, uint2: 16 bits; int4, int8: 32 and 64 bits signed; real: 32-bit
// float.
enum class PixelType : std::uint8_t { Byte, Int1, Int2, UInt2, Int4, Int8, Real };

const char* pixel_type_name(PixelType type) noexcept;
// Refuses an unknown name.
PixelType pixel_type_of(std::string_view name);
std::size_t pixel_size(PixelType type) noexcept;

// width x height pixels, row by row, no padding, in native byte order.
using Plane = std::shared_ptr<const Buffer<std::byte>>;

struct Image final : IconicObject {
  static constexpr ObjectClass kind = ObjectClass::Image;
  Image(PixelType t, std::int32_t w, std::int32_t h, std::vector<Plane> planes, RunsRef d = nullptr) noexcept
      : IconicObject(kind), type(t), width(w), height(h), channels(std::move(planes)), domain(std::move(d)) {}

  std::size_t pixels() const noexcept { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
  template <class T>
  const T* plane(std::size_t channel) const noexcept {
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
  // Takes a channel away again (a palette that proves gray, say).
  void keep_channels(std::size_t count) { planes_.resize(count); }
  void drop_channel(std::size_t channel) { planes_.erase(planes_.begin() + static_cast<std::ptrdiff_t>(channel)); }
  std::shared_ptr<const Image> finish(RunsRef domain = nullptr);

 private:
  PixelType type_;
  std::int32_t width_, height_;
  std::vector<Buffer<std::byte>> planes_;
};

// Calls `body` with a value of the C++ type that stores pixels of `type`.
template <class Body>
decltype(auto) with_pixel_type(PixelType type, Body&& body) {
  switch (type) {
    case PixelType::Int1:
      return body(std::int8_t{});
    case PixelType::Int2:
      return body(std::int16_t{});
    case PixelType::UInt2:
      return body(std::uint16_t{});
    case PixelType::Int4:
      return body(std::int32_t{});
    case PixelType::Int8:
      return body(std::int64_t{});
    case PixelType::Real:
      return body(float{});
    default:
      return body(std::uint8_t{});
  }
}

}  // namespace HalconCpp::detail

#endif
