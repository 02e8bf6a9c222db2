// Images as 8-bit pixels for drawing.
#ifndef QUOVEL_EXTRACT_IMAGE_H
#define QUOVEL_EXTRACT_IMAGE_H

#include <cstdint>
#include <optional>
#include <string>

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

// The pixels of one image of the node. Nothing when there is none to be had; `error` tells why where HALCON failed
// before the pixels were laid out, and stays empty otherwise.
std::optional<ImageRenderData> extract_image(const Node& node, std::int32_t index, std::u16string& error);

// The number of channels as stored, -1 when the node holds no image of that number or HALCON fails (then with `error`).
std::int32_t image_channel_count(const Node& node, std::int32_t index, std::u16string& error);

}  // namespace quovel

#endif
