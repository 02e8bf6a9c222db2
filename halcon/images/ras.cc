// Sun raster files after rasterfile(5) of SunOS. Eight big-endian 32-bit fields: ras_magic, ras_width, ras_height,
// ras_depth, ras_length, ras_type, ras_maptype, ras_maplength; then the color map and the pixels.
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "core/buffer.h"
#include "core/failure.h"
#include "iconic/image.h"
#include "images/codec.h"
#include "images/formats.h"
#include "images/raster.h"

namespace HalconCpp::detail {

namespace {

constexpr std::size_t header_size = 32;

enum RasType : std::uint32_t { rt_old = 0, rt_standard = 1, rt_byte_encoded = 2, rt_format_rgb = 3 };
constexpr std::uint32_t rmt_equal_rgb = 1;  // ras_maptype: all reds, all greens, all blues

// By ras_depth. Numbers of 24 and 32 bits hold blue in the highest bits, but red in files of RT_FORMAT_RGB.
// RT_BYTE_ENCODED keeps the order of RT_STANDARD.
Raster layout_of(std::uint32_t depth, std::uint32_t type) {
  Raster raster;
  raster.bits = depth;
  if (depth == 1) raster.palette.set(0, 255, 255, 255);  // a set bit is black
  if (depth == 8) raster.palette = Palette::gray_ramp(256);
  if (depth == 24 || depth == 32) raster.masks = {0xFF, 0xFF00, 0xFF0000};
  if (depth > 8 && type == rt_format_rgb) raster.masks = {0xFF0000, 0xFF00, 0xFF};
  return raster;
}

Palette read_map(const Fields& fields, std::uint32_t depth, std::uint32_t type, std::uint32_t length) {
  if (type != rmt_equal_rgb || depth > 8 || length > 3 * 256 || length % 3 != 0)
    fail("a color map of type " + std::to_string(type) + " and " + std::to_string(length) + " bytes is not read with " +
         std::to_string(depth) + " bits per pixel");
  const std::size_t colors = length / 3;
  return Palette(octets(fields.part(header_size, length)), colors, 1, {0, colors, 2 * colors});
}

// 128 starts a run: 128, count - 1, value. A count of 0 means a single 128.
Buffer<std::byte> decompress(Bytes data, std::size_t size) {
  Buffer<std::byte> bytes(size);
  ByteStream stream(data);
  for (std::size_t done = 0; done < size;) {
    std::uint8_t value = stream.next();
    std::size_t count = 1;
    if (value == 128) {
      count += stream.next();
      if (count > 1) value = stream.next();
    }
    count = std::min(count, size - done);
    std::memset(bytes.data() + done, value, count);
    done += count;
  }
  return bytes;
}

}  // namespace

ImageRef read_ras(Bytes file) {
  const Fields fields(file, std::endian::big);
  const std::uint32_t depth = fields.u32(12), type = fields.u32(20), map_length = fields.u32(28);
  if (type > rt_format_rgb) fail("a Sun raster file of type " + std::to_string(type) + " is not read");
  if (depth != 1 && depth != 8 && depth != 24 && depth != 32)
    fail("a Sun raster file of " + std::to_string(depth) + " bits per pixel is not read");
  Raster raster = layout_of(depth, type);
  if (map_length > 0) raster.palette = read_map(fields, depth, fields.u32(24), map_length);
  raster.width = fields.u32(4);
  raster.height = fields.u32(8);
  raster.row_bytes = (std::size_t{raster.width} * depth + 15) / 16 * 2;  // rows are padded to 16 bits
  check_raster(raster, file.size());
  const Bytes data = fields.rest(header_size + std::uint64_t{map_length});
  if (type != rt_byte_encoded) return read_raster(raster, data);
  return read_raster(raster, decompress(data, static_cast<std::size_t>(raster.bytes())));
}

}  // namespace HalconCpp::detail
