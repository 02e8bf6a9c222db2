// XWD, the window dumps of X11, after X11/XWDFile.h. 25 or more 32-bit fields, nearly always big-endian: header_size,
// file_version (7), pixmap_format, pixmap_depth, pixmap_width, pixmap_height, xoffset, byte_order, bitmap_unit,
// bitmap_bit_order, bitmap_pad, bits_per_pixel, bytes_per_line, visual_class, red_mask, green_mask, blue_mask,
// bits_per_rgb, colormap_entries, ncolors, ...; then ncolors XWDColor (pixel, red, green, blue, flags, pad), then
// pixels.
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
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

constexpr std::uint32_t min_header_size = 100, color_size = 12;

enum PixmapFormat : std::uint32_t { xy_bitmap = 0, xy_pixmap = 1, z_pixmap = 2 };
enum VisualClass : std::uint32_t { static_gray = 0, gray_scale = 1, static_color = 2, pseudo_color = 3 };

struct Header {
  std::uint32_t size, format, visual_class, colors;
  unsigned bits;       // of a pixel
  std::uint32_t unit;  // of a bitmap, in bytes
  std::endian byte_order, bit_order;

  bool is_bitmap() const { return bits == 1; }
  bool swaps_units() const { return is_bitmap() && byte_order != bit_order; }
};

std::endian order_of(std::uint32_t field) { return field == 0 ? std::endian::little : std::endian::big; }

bool is_known(const Header& header) {
  const unsigned bits = header.bits;
  if (header.is_bitmap())
    return header.format <= z_pixmap && (header.unit == 1 || header.unit == 2 || header.unit == 4);
  if (header.format != z_pixmap) return false;
  if (header.visual_class <= pseudo_color) return bits == 8 || (bits == 4 && header.byte_order == std::endian::big);
  return bits == 16 || bits == 24 || bits == 32;
}

// 16 bits per channel become 8, rounded.
std::uint8_t level(std::uint32_t value) { return static_cast<std::uint8_t>((value * 255 + 32767) / 65535); }

Palette palette_of(const Fields& fields, const Header& header) {
  if (header.colors == 0) {
    if (!header.is_bitmap() && header.visual_class > gray_scale) fail("its color map is empty");
    return Palette::gray_ramp(std::size_t{1} << header.bits);
  }
  Palette palette;
  for (std::uint32_t i = 0; i < header.colors; ++i) {
    const std::uint64_t at = header.size + std::uint64_t{color_size} * i;
    const std::uint32_t pixel = fields.u32(at);
    if (pixel < 256)
      palette.set(pixel, level(fields.u16(at + 4)), level(fields.u16(at + 6)), level(fields.u16(at + 8)));
  }
  return palette;
}

std::byte reversed(std::byte bits) {
  unsigned result = 0;
  for (int bit = 0; bit < 8; ++bit) result |= (static_cast<unsigned>(bits) >> bit & 1U) << (7 - bit);
  return static_cast<std::byte>(result);
}

// The rows with the first pixel in the highest bit of the first byte. Units whose byte order is not that of their bits
// have their bytes swapped.
Buffer<std::byte> in_pixel_order(Bytes rows, const Header& header) {
  Buffer<std::byte> ordered(rows.size());
  const std::size_t unit = header.swaps_units() ? header.unit : 1;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const std::byte bits = rows[i - i % unit + (unit - 1 - i % unit)];
    ordered[i] = header.bit_order == std::endian::little ? reversed(bits) : bits;
  }
  return ordered;
}

// bits_per_pixel as stored. pnmtoxwd names the depth of a color map there, but writes one byte per pixel: then
// bytes_per_line is not that of packed pixels.
unsigned stored_bits(const Fields& fields, std::uint32_t format, std::uint32_t visual_class) {
  const std::uint32_t width = fields.u32(16), pad = fields.u32(40), bits = fields.u32(44), row_bytes = fields.u32(48);
  if (format != z_pixmap || visual_class > pseudo_color || bits >= 8 || pad < 8) return bits;
  const std::uint64_t packed = (std::uint64_t{width} * bits + pad - 1) / pad * pad / 8;
  return row_bytes != packed && row_bytes >= width ? 8 : bits;
}

Header read_header(const Fields& fields) {
  const auto field = [&](std::uint64_t index) { return fields.u32(4 * index); };
  Header header;
  header.size = field(0);
  header.format = field(2);
  header.byte_order = order_of(field(7));
  header.unit = field(8) / 8;
  header.bit_order = order_of(field(9));
  header.visual_class = field(13);
  header.colors = field(19);
  header.bits = stored_bits(fields, header.format, header.visual_class);
  const std::uint32_t depth = field(3);
  // A bitmap has one bit per pixel, whatever bits_per_pixel says.
  if (header.format == xy_bitmap || (header.format == xy_pixmap && depth == 1)) header.bits = 1;
  if (header.size < min_header_size) fail("a header of " + std::to_string(header.size) + " bytes is too short");
  if (!is_known(header))
    fail("a window dump of format " + std::to_string(header.format) + " and visual class " +
         std::to_string(header.visual_class) + " with " + std::to_string(header.bits) + " bits per pixel is not read");
  return header;
}

Raster read_layout(const Fields& fields, const Header& header) {
  Raster raster;
  raster.width = fields.u32(16);
  raster.height = fields.u32(20);
  raster.bits = header.bits;
  raster.row_bytes = fields.u32(48);
  raster.order = header.byte_order;
  if (raster.row_bytes < (std::uint64_t{raster.width} * raster.bits + 7) / 8)
    fail("its rows are shorter than its width");
  if (header.swaps_units() && raster.row_bytes % header.unit != 0)
    fail("its rows are not a whole number of bitmap units");
  if (raster.bits <= 8)
    raster.palette = palette_of(fields, header);
  else
    raster.masks = {fields.u32(56), fields.u32(60), fields.u32(64)};
  return raster;
}

}  // namespace

ImageRef read_xwd(Bytes file) {
  const bool big = Fields(file, std::endian::big).u32(4) == 7;
  const Fields fields(file, big ? std::endian::big : std::endian::little);
  const Header header = read_header(fields);
  const Raster raster = read_layout(fields, header);
  const Bytes rows = fields.part(header.size + std::uint64_t{color_size} * header.colors, raster.bytes());
  check_raster(raster, file.size());
  const bool in_order = !header.is_bitmap() || (!header.swaps_units() && header.bit_order == std::endian::big);
  if (in_order) return read_raster(raster, rows);
  return read_raster(raster, in_pixel_order(rows, header));
}

}  // namespace HalconCpp::detail
