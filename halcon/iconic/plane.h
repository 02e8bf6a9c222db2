// Pixel types, and the pixels of one channel.
#ifndef HALCONCPP_ICONIC_PLANE_H
#define HALCONCPP_ICONIC_PLANE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

#include "core/buffer.h"

namespace HalconCpp::detail {

// byte: 8 bits unsigned; int1: 8 bits signed; int2, uint2: 16 bits; int4, int8: 32 and 64 bits signed; real: 32-bit
// float.
enum class PixelType : std::uint8_t { Byte, Int1, Int2, UInt2, Int4, Int8, Real };

const char* pixel_type_name(PixelType type) noexcept;
// Rejects an unknown name.
PixelType pixel_type_of(std::string_view name);
std::size_t pixel_size(PixelType type) noexcept;

// width x height pixels, row by row, no padding, in native byte order. A plane of reals that was made from integers
// converts them on the first call of data(). Most such planes are only scaled to bytes for display, which needs only
// the integers: that saves four bytes per pixel. The class is small because a file may have thousands of channels of 1
// pixel.
class PixelPlane {
 public:
  PixelPlane() noexcept = default;
  explicit PixelPlane(Buffer<std::byte> pixels) noexcept { hold(std::move(pixels)); }
  // `count` integers of 8 or 16 bits, which a 32-bit float represents exactly.
  PixelPlane(std::shared_ptr<const PixelPlane> integers, PixelType type, std::size_t count) noexcept
      : integers_(std::move(integers)), integer_count_(count), integer_type_(type) {}
  ~PixelPlane();
  PixelPlane(const PixelPlane&) = delete;
  PixelPlane& operator=(const PixelPlane&) = delete;

  // Fill an empty plane: with pixels of its own, or with some that outlive it.
  void hold(Buffer<std::byte> pixels) noexcept;
  void show(const std::byte* pixels) noexcept { data_.store(pixels, std::memory_order_relaxed); }

  const std::byte* data() const {
    const std::byte* pixels = data_.load(std::memory_order_acquire);
    return pixels || !integers_ ? pixels : convert();
  }
  // Whether the pixels are not here: iconic/deferred_image.h has them, and data() is null.
  bool is_deferred() const noexcept { return deferred_; }
  // What the plane was made from; null for a plane that holds its pixels from the start.
  const std::shared_ptr<const PixelPlane>& integers() const noexcept { return integers_; }
  PixelType integer_type() const noexcept { return integer_type_; }

 protected:
  struct Deferred {};
  explicit PixelPlane(Deferred) noexcept : deferred_(true) {}

 private:
  const std::byte* convert() const;

  mutable std::atomic<const std::byte*> data_ = nullptr;
  std::shared_ptr<const PixelPlane> integers_;
  std::size_t integer_count_ = 0;
  PixelType integer_type_ = PixelType::Byte;
  bool owns_ = false;  // pixels that were not made from integers
  bool deferred_ = false;
};

using Plane = std::shared_ptr<const PixelPlane>;

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
