#include "images/tiff_samples.h"

#include <tiffio.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <string>

#include "core/failure.h"

namespace HalconCpp::detail {

namespace {

// Samples of 1 to 15 bits without gaps, the highest bit first.
template <class T>
void unpack_bits(const TiffSamples& samples, const std::byte* row, std::size_t count, void* pixels) {
  T* out = static_cast<T*>(pixels);
  const unsigned bits = samples.bits, mask = (1u << bits) - 1;
  unsigned held = 0;
  for (std::uint32_t window = 0; count > 0; --count) {
    for (; held < bits; held += 8) window = window << 8 | std::to_integer<std::uint32_t>(*row++);
    held -= bits;
    const std::uint32_t value = window >> held & mask;
    *out++ = sizeof(T) == 1 ? samples.values[value] : static_cast<T>(value);
  }
}

template <class Stored, class Pixel>
void unpack_wide(const TiffSamples&, const std::byte* row, std::size_t count, void* pixels) {
  auto* out = static_cast<Pixel*>(pixels);
  for (std::size_t i = 0; i < count; ++i) {
    Stored value;
    std::memcpy(&value, row + i * sizeof value, sizeof value);
    out[i] = static_cast<Pixel>(value);
  }
}

float small_float(std::uint32_t value, int exponent_bits, int mantissa_bits) {
  const std::uint32_t sign = value >> (exponent_bits + mantissa_bits) << 31;
  const std::uint32_t top = (1u << exponent_bits) - 1, bias = top / 2;
  const std::uint32_t exponent = value >> mantissa_bits & top, mantissa = value & ((1u << mantissa_bits) - 1);
  if (exponent == 0) {
    const float tiny = std::ldexp(static_cast<float>(mantissa), 1 - static_cast<int>(bias) - mantissa_bits);
    return sign ? -tiny : tiny;
  }
  const std::uint32_t widened = exponent == top ? 255 : exponent + 127 - bias;
  return std::bit_cast<float>(sign | widened << 23 | mantissa << (23 - mantissa_bits));
}

// Floats of two or three bytes in this machine's order.
template <int exponent_bits, int mantissa_bits>
void unpack_small_floats(const TiffSamples&, const std::byte* row, std::size_t count, void* pixels) {
  constexpr std::size_t size = (1 + exponent_bits + mantissa_bits) / 8;
  constexpr std::size_t skip = std::endian::native == std::endian::big ? 4 - size : 0;
  auto* out = static_cast<float*>(pixels);
  for (std::size_t i = 0; i < count; ++i) {
    std::uint32_t value = 0;
    std::memcpy(reinterpret_cast<std::byte*>(&value) + skip, row + i * size, size);
    out[i] = small_float(value, exponent_bits, mantissa_bits);
  }
}

struct Known {
  std::uint16_t sample_format;
  unsigned bits;
  PixelType type;
  TiffSamples::Unpack unpack;
};

constexpr Known known_samples[] = {
    {SAMPLEFORMAT_UINT, 8, PixelType::Byte, nullptr},
    {SAMPLEFORMAT_UINT, 16, PixelType::UInt2, nullptr},
    {SAMPLEFORMAT_UINT, 32, PixelType::Int8, unpack_wide<std::uint32_t, std::int64_t>},
    {SAMPLEFORMAT_INT, 8, PixelType::Int1, nullptr},
    {SAMPLEFORMAT_INT, 16, PixelType::Int2, nullptr},
    {SAMPLEFORMAT_INT, 32, PixelType::Int4, nullptr},
    {SAMPLEFORMAT_INT, 64, PixelType::Int8, nullptr},
    {SAMPLEFORMAT_IEEEFP, 16, PixelType::Real, unpack_small_floats<5, 10>},
    {SAMPLEFORMAT_IEEEFP, 24, PixelType::Real, unpack_small_floats<7, 16>},
    {SAMPLEFORMAT_IEEEFP, 32, PixelType::Real, nullptr},
    {SAMPLEFORMAT_IEEEFP, 64, PixelType::Real, unpack_wide<double, float>},
};

const char* kind_name(std::uint16_t sample_format) {
  switch (sample_format) {
    case SAMPLEFORMAT_INT:
      return "signed integers";
    case SAMPLEFORMAT_IEEEFP:
      return "floating-point numbers";
    case SAMPLEFORMAT_COMPLEXINT:
    case SAMPLEFORMAT_COMPLEXIEEEFP:
      return "complex numbers";
    default:
      return "unsigned integers";
  }
}

TiffSamples packed_samples(unsigned bits, bool scaled) {
  TiffSamples samples{bits < 8 ? PixelType::Byte : PixelType::UInt2, bits, unpack_bits<std::uint16_t>, {}};
  if (bits > 8) return samples;
  const unsigned max = (1u << bits) - 1;
  for (unsigned v = 0; v <= max; ++v)
    samples.values[v] = static_cast<std::uint8_t>(scaled ? (v * 255 + max / 2) / max : v);
  samples.unpack = unpack_bits<std::uint8_t>;
  return samples;
}

}  // namespace

TiffSamples tiff_samples(std::uint16_t sample_format, unsigned bits, bool scaled) {
  if (sample_format == SAMPLEFORMAT_VOID) sample_format = SAMPLEFORMAT_UINT;
  if (sample_format == SAMPLEFORMAT_UINT && bits > 0 && bits < 16 && bits != 8) return packed_samples(bits, scaled);
  for (const Known& known : known_samples)
    if (known.sample_format == sample_format && known.bits == bits) return {known.type, bits, known.unpack, {}};
  fail("its samples are " + std::to_string(bits) + "-bit " + kind_name(sample_format) + ", which no pixel type holds");
}

}  // namespace HalconCpp::detail
