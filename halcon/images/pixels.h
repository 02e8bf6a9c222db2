// Copies between interleaved samples, as codecs deliver and take them, and the planes of images.
#ifndef HALCONCPP_IMAGES_PIXELS_H
#define HALCONCPP_IMAGES_PIXELS_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "iconic/image.h"
#include "iconic/interleave.h"

namespace HalconCpp::detail {

// The loops below are written so that GCC vectorizes those of two and four channels; three channels are fastest in one
// pass.
template <class T>
void split_channel(const T* __restrict samples, std::size_t step, std::size_t pixels, T* __restrict plane) noexcept {
  for (std::size_t i = 0; i < pixels; ++i) plane[i] = samples[i * step];
}

template <class T>
void split_three(const T* __restrict samples, std::size_t pixels, T* __restrict a, T* __restrict b,
                 T* __restrict c) noexcept {
  if constexpr (std::is_same_v<T, std::uint8_t>) return split_three_bytes(samples, pixels, a, b, c);
  for (std::size_t i = 0; i < pixels; ++i) {
    a[i] = samples[3 * i];
    b[i] = samples[3 * i + 1];
    c[i] = samples[3 * i + 2];
  }
}

// Interleaved samples, one of each channel of `draft` per pixel, go to its planes from pixel `at` on (row * width for
// whole rows).
template <class T>
void split_pixels(const T* samples, std::size_t pixels, ImageDraft& draft, std::size_t at) noexcept {
  const std::size_t channels = draft.channels();
  const auto plane = [&](std::size_t c) { return draft.plane<T>(c) + at; };
  if (channels == 3) return split_three(samples, pixels, plane(0), plane(1), plane(2));
  for (std::size_t c = 0; c < channels; ++c) {
    if (channels == 1)
      split_channel(samples, 1, pixels, plane(c));
    else if (channels == 2)
      split_channel(samples + c, 2, pixels, plane(c));
    else if (channels == 4)
      split_channel(samples + c, 4, pixels, plane(c));
    else
      split_channel(samples + c, channels, pixels, plane(c));
  }
}

template <class T>
void join_channel(const T* __restrict plane, std::size_t step, std::size_t pixels, T* __restrict samples) noexcept {
  for (std::size_t i = 0; i < pixels; ++i) samples[i * step] = plane[i];
}

template <class T>
void join_three(const T* __restrict a, const T* __restrict b, const T* __restrict c, std::size_t pixels,
                T* __restrict samples) noexcept {
  if constexpr (std::is_same_v<T, std::uint8_t>) return join_three_bytes(a, b, c, pixels, samples);
  for (std::size_t i = 0; i < pixels; ++i) {
    samples[3 * i] = a[i];
    samples[3 * i + 1] = b[i];
    samples[3 * i + 2] = c[i];
  }
}

// The reverse: the pixels of all channels from pixel `at` on, interleaved.
template <class T>
void join_pixels(const Image& image, std::size_t at, std::size_t pixels, T* samples) {
  const std::size_t channels = image.channels.size();
  const auto plane = [&](std::size_t c) { return image.plane<T>(c) + at; };
  if (channels == 3) return join_three(plane(0), plane(1), plane(2), pixels, samples);
  for (std::size_t c = 0; c < channels; ++c) join_channel(plane(c), channels, pixels, samples + c);
}

}  // namespace HalconCpp::detail

#endif
