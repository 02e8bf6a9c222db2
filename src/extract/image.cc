#include "extract/image.h"

#include <cstring>
#include <string_view>

#include "HalconCpp.h"
#include "extract/selection.h"
#include "tree/objects.h"

namespace quovel {

using HalconCpp::HImage;
using HalconCpp::Hlong;
using HalconCpp::HObject;
using HalconCpp::HRegion;

namespace {

using Rendered = std::optional<ImageRenderData>;

// Copies `height` rows of `stride` bytes; nothing when HALCON reports no pixels or there is no memory.
Rendered copy_pixels(const void* pixels, Hlong width, Hlong height, Hlong stride, ImagePixelFormat format) {
  if (!pixels || height <= 0 || stride <= 0) return std::nullopt;
  if (static_cast<std::uint64_t>(stride) > SIZE_MAX / static_cast<std::uint64_t>(height)) return std::nullopt;
  ImageRenderData data;
  data.bytes = HostBuffer<std::uint8_t>(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height));
  if (!data.bytes.allocated()) return std::nullopt;
  std::memcpy(data.bytes.data(), pixels, data.bytes.size());
  data.width = static_cast<std::uint32_t>(width);
  data.height = static_cast<std::uint32_t>(height);
  data.stride = static_cast<std::uint32_t>(stride);
  data.pixel_format = format;
  return data;
}

Rendered render_gray(const HImage& image) {
  Hlong width = 0, height = 0, vertical_pitch = 0, horizontal_bit_pitch = 0, bits_per_pixel = 0;
  const void* pixels =
      image.GetImagePointer1Rect(&width, &height, &vertical_pitch, &horizontal_bit_pitch, &bits_per_pixel);
  if (width <= 0) return std::nullopt;
  return copy_pixels(pixels, width, height, vertical_pitch, ImagePixelFormat::Gray8);
}

// Interleaved rows have no gaps: one row of a pixel's bytes after the other.
Rendered render_interleaved(const HObject& image, const char* layout, Hlong pixel_bytes, ImagePixelFormat format) {
  HObject interleaved;
  HalconCpp::InterleaveChannels(image, &interleaved, layout, "match", 255);
  HalconCpp::HString type;
  Hlong row_bytes = 0, height = 0;
  const HImage laid_out(interleaved);
  const void* pixels = laid_out.GetImagePointer1(&type, &row_bytes, &height);
  return copy_pixels(pixels, row_bytes / pixel_bytes, height, row_bytes, format);
}

// Four one-channel planes. Composing starts with the second one: that is the order in which interleaving takes them.
Rendered render_four(const HObject& plane1, const HObject& plane2, const HObject& plane3, const HObject& plane4) {
  HObject composed;
  HalconCpp::Compose4(plane2, plane3, plane4, plane1, &composed);
  return render_interleaved(composed, "bgra", 4, ImagePixelFormat::Bgra32);
}

// The domain becomes the fourth plane: 255 inside it and 0 outside.
Rendered render_masked(const HImage& image, Hlong channels, const HRegion& domain, Hlong width, Hlong height) {
  HObject mask;
  HalconCpp::RegionToBin(domain, &mask, 255, 0, width, height);
  if (channels == 1) return render_four(image, image, image, mask);
  HObject c1, c2, c3;
  HalconCpp::Decompose3(image, &c1, &c2, &c3);
  return render_four(c1, c2, c3, mask);
}

Rendered render_four_channels(const HImage& image) {
  HObject c1, c2, c3, c4;
  HalconCpp::Decompose4(image, &c1, &c2, &c3, &c4);
  return render_four(c1, c2, c3, c4);
}

// Lays out the pixels of an image of type "byte", by its number of channels. A failure of HALCON in here gives no
// pixels and no error text, like an image without pixels: both mean that this image cannot be drawn.
Rendered render(const HImage& image) try {
  const Hlong channels = image.CountChannels()[0].L();
  const Hlong width = image.Width()[0].L();
  const Hlong height = image.Height()[0].L();
  if (channels == 1 || channels == 3)
    if (const auto domain = partial_domain(image, width, height))
      return render_masked(image, channels, *domain, width, height);
  if (channels == 1) return render_gray(image);
  if (channels == 3) return render_interleaved(image, "bgr", 3, ImagePixelFormat::Bgr24);
  if (channels == 4) return render_four_channels(image);
  return std::nullopt;
} catch (const HalconCpp::HException&) {
  return std::nullopt;
}

// Any other pixel type is stretched to 0..255 first.
HImage as_bytes(const HImage& image) {
  HalconCpp::HString type;
  Hlong width = 0, height = 0;
  image.GetImagePointer1(&type, &width, &height);
  if (type.Text() == std::string_view("byte")) return image;
  HObject real, scaled, bytes;
  HalconCpp::ConvertImageType(image, &real, "real");
  HalconCpp::ScaleImageMax(real, &scaled);
  HalconCpp::ConvertImageType(scaled, &bytes, "byte");
  return HImage(bytes);
}

}  // namespace

Rendered extract_image(const Node& node, std::int32_t index) {
  if (!has_object(node, index)) return std::nullopt;
  return render(as_bytes(HImage(select_object(held_object(node), index))));
}

std::int32_t image_channel_count(const Node& node, std::int32_t index) {
  if (!has_object(node, index) || !node.rare() || !node.rare()->is_image) return -1;
  const HImage image(select_object(node.rare()->held_object, index));
  return static_cast<std::int32_t>(image.CountChannels()[0].L());
}

}  // namespace quovel
