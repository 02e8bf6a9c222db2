// Conversions of color spaces to red, green and blue, in place in the planes of a draft. CMYK is inverted without a
// profile. YCbCr has the coefficients of ITU-R BT.601, as JFIF and JP2 use them. CIE L*a*b* is relative to D50, as in
// ICC profiles and TIFF; its matrix takes XYZ under D50 to linear sRGB (Bradford adaptation).
#ifndef HALCONCPP_IMAGES_COLORS_H
#define HALCONCPP_IMAGES_COLORS_H

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "iconic/image.h"

namespace HalconCpp::detail {

// Exchanges black and white.
template <class T>
void invert(ImageDraft& draft, std::size_t channel, std::size_t pixels, T max) {
  T* const plane = draft.plane<T>(channel);
  for (std::size_t i = 0; i < pixels; ++i) plane[i] = static_cast<T>(max - plane[i]);
}

// All samples are of 0..max; T is std::uint8_t or std::uint16_t. Channels after the colors are kept.
template <class T>
void cmyk_to_rgb(ImageDraft& draft, std::size_t pixels, std::uint32_t max) {
  const T* black = draft.plane<T>(3);
  for (std::size_t c = 0; c < 3; ++c) {
    T* plane = draft.plane<T>(c);
    for (std::size_t i = 0; i < pixels; ++i) {
      plane[i] = static_cast<T>(((max - plane[i]) * (max - black[i]) + max / 2) / max);
    }
  }
  draft.drop_channel(3);
}

// Full-range YCbCr with the zero of the chroma channels at (max + 1) / 2.
template <class T>
void ycc_to_rgb(ImageDraft& draft, std::size_t pixels, std::uint32_t max) {
  T *red = draft.plane<T>(0), *green = draft.plane<T>(1), *blue = draft.plane<T>(2);
  const float top = static_cast<float>(max), zero = static_cast<float>((max + 1) / 2);
  const auto sample = [top](float value) { return static_cast<T>(std::clamp(value, 0.0f, top) + 0.5f); };
  for (std::size_t i = 0; i < pixels; ++i) {
    const float y = red[i], cb = green[i] - zero, cr = blue[i] - zero;
    red[i] = sample(y + 1.402f * cr);
    green[i] = sample(y - 0.344136f * cb - 0.714136f * cr);
    blue[i] = sample(y + 1.772f * cb);
  }
}

// How samples represent L* (0..100), a* and b*: value = scale * sample + offset.
struct LabCoding {
  float scale[3], offset[3];
};

inline float lab_cube(float t) { return t > 6.0f / 29 ? t * t * t : (t - 4.0f / 29) * (108.0f / 841); }
inline float srgb_curve(float v) { return v <= 0.0031308f ? 12.92f * v : 1.055f * std::pow(v, 1 / 2.4f) - 0.055f; }

// CIE L*a*b* under D50 to sRGB of 0..max.
template <class T>
void lab_to_rgb(ImageDraft& draft, std::size_t pixels, const LabCoding& coding, std::uint32_t max) {
  T* planes[3] = {draft.plane<T>(0), draft.plane<T>(1), draft.plane<T>(2)};
  const float top = static_cast<float>(max);
  const auto sample = [top](float linear) {
    return static_cast<T>(std::clamp(srgb_curve(linear), 0.0f, 1.0f) * top + 0.5f);
  };
  for (std::size_t i = 0; i < pixels; ++i) {
    float lab[3];
    for (int c = 0; c < 3; ++c) lab[c] = coding.scale[c] * planes[c][i] + coding.offset[c];
    const float f = (lab[0] + 16) / 116;
    const float x = 0.96422f * lab_cube(f + lab[1] / 500), y = lab_cube(f), z = 0.82521f * lab_cube(f - lab[2] / 200);
    planes[0][i] = sample(3.1338561f * x - 1.6168667f * y - 0.4906146f * z);
    planes[1][i] = sample(-0.9787684f * x + 1.9161415f * y + 0.0334540f * z);
    planes[2][i] = sample(0.0719453f * x - 0.2289914f * y + 1.4052427f * z);
  }
}

}  // namespace HalconCpp::detail

#endif
