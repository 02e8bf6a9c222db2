#include "iconic/plane.h"

#include <algorithm>

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

void PixelPlane::convert() const {
  const std::lock_guard lock(converting_);
  if (converted_.load(std::memory_order_relaxed)) return;
  const std::size_t count = integers_->pixels_.size() / pixel_size(integer_type_);
  Buffer<std::byte> pixels(count * sizeof(float));
  with_pixel_type(integer_type_, [&](auto integer) {
    const auto* from =
        reinterpret_cast<const decltype(integer)*>(integers_->pixels_.data());  // integers are never lazy
    std::transform(from, from + count, reinterpret_cast<float*>(pixels.data()),
                   [](auto value) { return static_cast<float>(value); });
  });
  pixels_ = std::move(pixels);
  converted_.store(true, std::memory_order_release);
}

}  // namespace HalconCpp::detail
