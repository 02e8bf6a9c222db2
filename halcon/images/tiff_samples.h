// The samples of a TIFF: which pixel type they become, and how.
#ifndef HALCONCPP_IMAGES_TIFF_SAMPLES_H
#define HALCONCPP_IMAGES_TIFF_SAMPLES_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "iconic/plane.h"

namespace HalconCpp::detail {

struct TiffSamples {
  using Unpack = void (*)(const TiffSamples& samples, const std::byte* row, std::size_t count, void* pixels);

  bool native() const noexcept { return unpack == nullptr; }

  PixelType type = PixelType::Byte;
  unsigned bits = 8;
  Unpack unpack = nullptr;                 // null: stored like the pixels themselves
  std::array<std::uint8_t, 128> values{};  // the pixels for samples of fewer than 8 bits
};

// Rejects a sample format that no pixel type holds. With `scaled`, fewer than 8 bits spread over 0..255.
TiffSamples tiff_samples(std::uint16_t sample_format, unsigned bits, bool scaled);

}  // namespace HalconCpp::detail

#endif
