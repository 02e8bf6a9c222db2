#include "images.h"

#include <cmath>
#include <cstdint>
#include <random>
#include <string_view>
#include <vector>

#include "HalconCreate.h"

namespace bench {

using namespace HalconCpp;

namespace {

// From 0 to 1.
std::vector<float> light(int width, int height, int channel) {
  std::minstd_rand random(static_cast<unsigned>(channel + 1));
  std::vector<float> pixels;
  pixels.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  for (int row = 0; row < height; ++row) {
    const float across = 0.2f * std::sin(static_cast<float>(row) / 170.0f + static_cast<float>(channel));
    for (int column = 0; column < width; ++column) {
      const float along = 0.2f * std::sin(static_cast<float>(column) / 230.0f);
      const float noise = static_cast<float>(random() % 1024) / 1024.0f * 0.03f;
      pixels.push_back(0.5f + across + along + noise);
    }
  }
  return pixels;
}

template <class T>
HObject plane(const char* type, const std::vector<float>& light, int width, int height, float most) {
  std::vector<T> pixels(light.size());
  for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<T>(light[i] * most);
  HObject image;
  GenImage1(&image, type, width, height, pixels.data());
  return image;
}

}  // namespace

HObject photo(const char* type, int channels, int width, int height) {
  HObject image;
  for (int channel = 0; channel < channels; ++channel) {
    const std::vector<float> pixels = light(width, height, channel);
    const HObject next = type == std::string_view("byte") ? plane<std::uint8_t>(type, pixels, width, height, 255)
                                                          : plane<std::uint16_t>(type, pixels, width, height, 4095);
    if (channel == 0)
      image = next;
    else
      AppendChannel(HObject(image), next, &image);
  }
  return image;
}

}  // namespace bench
