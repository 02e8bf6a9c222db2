// Images as 8-bit pixels for drawing.
#ifndef QUOVEL_EXTRACT_IMAGE_H
#define QUOVEL_EXTRACT_IMAGE_H

#include <cstdint>
#include <optional>

#include "extract/host_buffer.h"
#include "tree/node.h"

namespace quovel {

// The numbers are part of the host interface.
enum class ImagePixelFormat : std::uint32_t { Gray8 = 0, Bgr24 = 1, Bgra32 = 2 };

// `height` rows of `stride` bytes, first row first.
struct ImageRenderData {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t stride = 0;
  ImagePixelFormat pixel_format = ImagePixelFormat::Gray8;
  HostBuffer<std::uint8_t> bytes;
};

// The pixels of one image of the node, `index` counting from 0. Nothing when the node has no object of that number, for
// an image of 2 or more than 4 channels, and when the pixels cannot be laid out or there is no memory for them. Throws
// what HALCON throws before that, as for an object that is not an image.
std::optional<ImageRenderData> extract_image(const Node& node, std::int32_t index);

// The number of channels as stored; -1 when the node holds no image of that number. Throws what HALCON throws.
std::int32_t image_channel_count(const Node& node, std::int32_t index);

}  // namespace quovel

#endif
