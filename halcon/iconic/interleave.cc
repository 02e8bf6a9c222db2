#include "iconic/interleave.h"

#include "core/vector_units.h"

// Three bytes per pixel are fast only with a vector unit that shuffles bytes (SSSE3, in processors since 2006), so both
// loops are compiled a second time for it.
namespace HalconCpp::detail {

namespace {

using Byte = std::uint8_t;

HALCONCPP_INLINE void split(const Byte* __restrict samples, std::size_t pixels, Byte* __restrict first,
                            Byte* __restrict second, Byte* __restrict third) noexcept {
  for (std::size_t i = 0; i < pixels; ++i) {
    first[i] = samples[3 * i];
    second[i] = samples[3 * i + 1];
    third[i] = samples[3 * i + 2];
  }
}

HALCONCPP_INLINE void join(const Byte* __restrict first, const Byte* __restrict second, const Byte* __restrict third,
                           std::size_t pixels, Byte* __restrict samples) noexcept {
  for (std::size_t i = 0; i < pixels; ++i) {
    samples[3 * i] = first[i];
    samples[3 * i + 1] = second[i];
    samples[3 * i + 2] = third[i];
  }
}

#if HALCONCPP_TWICE
HALCONCPP_FOR("ssse3")
void split_by_shuffles(const Byte* samples, std::size_t pixels, Byte* first, Byte* second, Byte* third) noexcept {
  split(samples, pixels, first, second, third);
}

HALCONCPP_FOR("ssse3")
void join_by_shuffles(const Byte* first, const Byte* second, const Byte* third, std::size_t pixels,
                      Byte* samples) noexcept {
  join(first, second, third, pixels, samples);
}

bool can_shuffle() noexcept { return HALCONCPP_HAS("ssse3"); }
#endif

}  // namespace

void split_three_bytes(const Byte* samples, std::size_t pixels, Byte* first, Byte* second, Byte* third) noexcept {
#if HALCONCPP_TWICE
  if (can_shuffle()) return split_by_shuffles(samples, pixels, first, second, third);
#endif
  split(samples, pixels, first, second, third);
}

void join_three_bytes(const Byte* first, const Byte* second, const Byte* third, std::size_t pixels,
                      Byte* samples) noexcept {
#if HALCONCPP_TWICE
  if (can_shuffle()) return join_by_shuffles(first, second, third, pixels, samples);
#endif
  join(first, second, third, pixels, samples);
}

}  // namespace HalconCpp::detail
