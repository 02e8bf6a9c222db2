// XWD, the window dumps of X11: bitmaps, and pixels of 1 to 32 bits with a colour map or masks.
#include <string>

#include "core/failure.h"
#include "images/formats.h"
#include "images/raster.h"

namespace HalconCpp::detail {

namespace {

constexpr std::uint32_t smallest_header = 100, color_size = 12;
constexpr std::uint32_t gray_visuals = 1, last_mapped_visual = 3;  // static gray, gray scale; static and pseudo colour

enum PixmapFormat : std::uint32_t { xy_bitmap = 0, xy_pixmap = 1, z_pixmap = 2 };

struct Header {
  std::uint32_t size, format, depth, width, height;
  std::endian byte_order;
  std::uint32_t unit;
  std::endian bit_order;
  std::uint32_t bits;  // of a pixel
  std::uint32_t row_bytes, visual;
  std::uint32_t masks[3];
  std::uint32_t colors;

  std::uint64_t pixels_at() const { return size + std::uint64_t{color_size} * colors; }
};

std::endian order_of(std::uint32_t field) { return field == 0 ? std::endian::little : std::endian::big; }

void check(const Header& header) {
  if (header.size < smallest_header) refuse("a header of " + std::to_string(header.size) + " bytes is too short");
  const std::uint32_t bits = header.bits;
  const bool bitmap = bits == 1 && (header.unit == 8 || header.unit == 16 || header.unit == 32);
  const bool mapped = header.format == z_pixmap && bits == 8 && header.visual <= last_mapped_visual;
  const bool direct =
      header.format == z_pixmap && (bits == 16 || bits == 24 || bits == 32) && header.visual > last_mapped_visual;
  if (header.format > z_pixmap || !(bitmap || mapped || direct))
    refuse("a window dump of format " + std::to_string(header.format) + " and visual class " +
           std::to_string(header.visual) + " with " + std::to_string(bits) + " bits per pixel is not read");
  if (header.row_bytes < (std::uint64_t{header.width} * bits + 7) / 8) refuse("its rows are shorter than its width");
  if (bitmap && header.row_bytes % (header.unit / 8) != 0 && header.byte_order != header.bit_order)
    refuse("its rows are no whole number of bitmap units");
}

// The fields are 32-bit numbers, nearly always big-endian; the second one is the version, 7.
Header read_header(const Fields& fields) {
  const auto field = [&](std::uint64_t index) { return fields.u32(4 * index); };
  Header header{field(0), field(2),           field(3),  field(4),  field(5),  order_of(field(7)),
                field(8), order_of(field(9)), field(11), field(12), field(13), {field(14), field(15), field(16)},
                field(19)};
  // A bitmap has one bit per pixel, whatever the field says.
  if (header.format == xy_bitmap || (header.format == xy_pixmap && header.depth == 1)) header.bits = 1;
  check(header);
  return header;
}

Palette palette_of(const Fields& fields, const Header& header) {
  Palette palette;
  const auto gray = [&](std::size_t index, std::size_t value) {
    const auto level = static_cast<std::uint8_t>(value);
    palette.set(index, level, level, level);
  };
  if (header.colors == 0) {
    if (header.bits == 1)
      gray(1, 255);
    else if (header.visual <= gray_visuals)
      for (std::size_t i = 0; i < 256; ++i) gray(i, i);
    else
      refuse("its colour map is empty");
    return palette;
  }
  for (std::uint32_t i = 0; i < header.colors; ++i) {
    const std::uint64_t at = header.size + std::uint64_t{color_size} * i;
    const std::uint32_t index = fields.u32(at);
    // Sixteen bits per colour, of which the upper eight count.
    const auto level = [&](std::uint64_t offset) { return static_cast<std::uint8_t>(fields.u16(at + offset) >> 8); };
    if (index < 256) palette.set(index, level(4), level(6), level(8));
  }
  return palette;
}

// Bitmap units in an order of bytes that is not that of bits: the bytes of each unit change places.
void turn_units(const std::uint8_t* row, const Header& header, Buffer<std::uint8_t>& turned) {
  const std::size_t unit = header.unit / 8;
  for (std::size_t i = 0; i < turned.size(); ++i) turned[i] = row[i - i % unit + (unit - 1 - i % unit)];
}

void turn_bits(Buffer<std::uint8_t>& row) {
  for (std::uint8_t& byte : row) {
    unsigned turned = 0;
    for (int bit = 0; bit < 8; ++bit) turned |= (byte >> bit & 1U) << (7 - bit);
    byte = static_cast<std::uint8_t>(turned);
  }
}

ImageDraft draft_of(const Header& header, std::size_t channels, Bytes file) {
  check_image_size(header.width, header.height, channels, PixelType::Byte, file.size());
  return {PixelType::Byte, static_cast<std::int32_t>(header.width), static_cast<std::int32_t>(header.height), channels};
}

ImageRef read_indexed(const Fields& fields, const Header& header, const std::uint8_t* rows, Bytes file) {
  const Palette palette = palette_of(fields, header);
  ImageDraft draft = draft_of(header, palette.channels(), file);
  IndexRow indices(header.bits, header.width);
  const bool turn = header.bits == 1 && header.byte_order != header.bit_order;
  const bool reverse = header.bits == 1 && header.bit_order == std::endian::little;
  Buffer<std::uint8_t> bits(turn || reverse ? header.row_bytes : 0);
  for (std::size_t y = 0; y < header.height; ++y) {
    const std::uint8_t* row = rows + y * header.row_bytes;
    if (turn)
      turn_units(row, header, bits);
    else if (reverse)
      std::memcpy(bits.data(), row, bits.size());
    if (reverse) turn_bits(bits);
    palette.put(indices(bits.empty() ? row : bits.data()), header.width, draft, y * header.width);
  }
  return draft.finish();
}

ImageRef read_direct(const Header& header, const std::uint8_t* rows, Bytes file) {
  const PackedPixels pixels({header.masks[0], header.masks[1], header.masks[2]}, header.bits / 8, header.byte_order);
  ImageDraft draft = draft_of(header, pixels.channels(), file);
  for (std::size_t y = 0; y < header.height; ++y)
    pixels.put(rows + y * header.row_bytes, header.width, draft, y * header.width);
  return draft.finish();
}

}  // namespace

ImageRef read_xwd(Bytes file) {
  const bool big = Fields(file, std::endian::big).u32(4) == 7;
  const Fields fields(file, big ? std::endian::big : std::endian::little);
  const Header header = read_header(fields);
  const Bytes rows = fields.part(header.pixels_at(), std::uint64_t{header.row_bytes} * header.height);
  return header.bits <= 8 ? read_indexed(fields, header, octets(rows), file) : read_direct(header, octets(rows), file);
}

}  // namespace HalconCpp::detail
