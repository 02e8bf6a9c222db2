#include "iconic/plane.h"

#include <algorithm>
#include <string>

#include "core/blocks.h"
#include "core/failure.h"

namespace HalconCpp::detail {

namespace {

constexpr std::pair<PixelType, const char*> pixel_types[] = {
    {PixelType::Byte, "byte"}, {PixelType::Int1, "int1"}, {PixelType::Int2, "int2"}, {PixelType::UInt2, "uint2"},
    {PixelType::Int4, "int4"}, {PixelType::Int8, "int8"}, {PixelType::Real, "real"},
};

}  // namespace

const char* pixel_type_name(PixelType type) noexcept {
  for (const auto& [known, name] : pixel_types)
    if (known == type) return name;
  return "";
}

PixelType pixel_type_of(std::string_view name) {
  for (const auto& [type, known] : pixel_types)
    if (name == known) return type;
  fail(quoted(name) + " is not a pixel type (byte, int1, int2, uint2, int4, int8, real)");
}

std::size_t pixel_size(PixelType type) noexcept {
  return with_pixel_type(type, [](auto pixel) { return sizeof pixel; });
}

PixelPlane::~PixelPlane() {
  if (owns_ || integers_) free_block(const_cast<std::byte*>(data_.load(std::memory_order_relaxed)));
}

void PixelPlane::hold(Buffer<std::byte> pixels) noexcept {
  show(pixels.release());
  owns_ = true;
}

// Two threads may both convert; the first to publish its pixels wins.
const std::byte* PixelPlane::convert() const {
  Buffer<std::byte> pixels(integer_count_ * sizeof(float));
  const std::byte* const integers = integers_->data_.load(std::memory_order_acquire);  // there from the start
  with_pixel_type(integer_type_, [&](auto integer) {
    const auto* from = reinterpret_cast<const decltype(integer)*>(integers);
    std::transform(from, from + integer_count_, reinterpret_cast<float*>(pixels.data()),
                   [](auto value) { return static_cast<float>(value); });
  });
  const std::byte* expected = nullptr;
  if (data_.compare_exchange_strong(expected, pixels.data(), std::memory_order_acq_rel)) return pixels.release();
  return expected;
}

}  // namespace HalconCpp::detail
