// PCX after "PCX File Format Technical Reference Manual" (ZSoft). Little-endian fields: Manufacturer, Version,
// Encoding, BitsPerPixel, Window (Xmin, Ymin, Xmax, Ymax), HDpi, VDpi, Colormap (16 colors), Reserved, NPlanes,
// BytesPerLine, PaletteInfo; 128 bytes in all. 256-color files end in a palette of 768 bytes after a byte 0x0C.
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>

#include "core/buffer.h"
#include "core/failure.h"
#include "iconic/image.h"
#include "images/codec.h"
#include "images/formats.h"
#include "images/raster.h"

namespace HalconCpp::detail {

namespace {

constexpr std::size_t header_size = 128, colormap_at = 16, colormap_colors = 16;
constexpr std::size_t final_palette_bytes = 3 * 256;

constexpr struct {
  unsigned bits, planes;
} layouts[] = {
    {1, 1}, {2, 1}, {4, 1}, {8, 1}, {1, 2}, {1, 3}, {1, 4}, {8, 3}, {8, 4}  // the last one: red, green, blue, alpha
};

Raster read_header(const Fields& fields) {
  const std::uint32_t left = fields.u16(4), top = fields.u16(6), right = fields.u16(8), bottom = fields.u16(10);
  if (right < left || bottom < top) fail("its right or bottom border lies before the left or top one");
  Raster raster;
  raster.width = right - left + 1;
  raster.height = bottom - top + 1;
  raster.bits = fields.u8(3);
  raster.planes = fields.u8(65);
  raster.row_bytes = std::size_t{fields.u16(66)} * raster.planes;
  if (std::none_of(std::begin(layouts), std::end(layouts),
                   [&](auto known) { return known.bits == raster.bits && known.planes == raster.planes; }))
    fail("a PCX file of " + std::to_string(raster.planes) + " planes of " + std::to_string(raster.bits) +
         " bits is not read");
  if (fields.u16(66) * 8U < raster.width * raster.bits) fail("its rows are shorter than its width");
  return raster;
}

// The 16 colors of the EGA, used by files without a palette: two levels per channel, brown for dark yellow.
Palette ega_palette() {
  Palette palette;
  for (unsigned i = 0; i < colormap_colors; ++i) {
    const auto level = [i](unsigned bit) { return static_cast<std::uint8_t>((i & bit ? 170 : 0) + (i & 8 ? 85 : 0)); };
    palette.set(i, level(4), i == 6 ? 85 : level(2), level(1));
  }
  return palette;
}

bool has_final_palette(Bytes file) {
  return file.size() > header_size + final_palette_bytes &&
         file[file.size() - final_palette_bytes - 1] == std::byte{0x0C};
}

// Two-color files are black and white when the two colors of Colormap are equal (most writers leave it empty), and in
// versions 0 and 3, which have none.
Palette two_colors(const std::uint8_t* colormap, std::uint32_t version) {
  const bool differ = !std::equal(colormap, colormap + 3, colormap + 3);
  return differ && version != 0 && version != 3 ? Palette(colormap, 2, 3, {0, 1, 2}) : Palette::gray_ramp(2);
}

Palette palette_of(const Fields& fields, const Raster& raster, Bytes file) {
  const std::uint8_t* colormap = octets(fields.part(colormap_at, 3 * colormap_colors));
  const unsigned bits = raster.bits * raster.planes;
  if (bits == 1) return two_colors(colormap, fields.u8(1));
  if (bits < 8) {
    const bool empty = std::all_of(colormap, colormap + 3 * colormap_colors, [](std::uint8_t v) { return v == 0; });
    return empty ? ega_palette() : Palette(colormap, std::size_t{1} << bits, 3, {0, 1, 2});
  }
  if (has_final_palette(file)) return Palette(octets(file.last(final_palette_bytes)), 256, 3, {0, 1, 2});
  constexpr std::uint32_t grayscale = 2;  // PaletteInfo
  if (fields.u16(68) != grayscale) fail("its palette is missing: the file ends too early");
  return Palette::gray_ramp(256);
}

// A byte whose two highest bits are set is the length of a run of the next byte. Runs may reach into the next row.
Buffer<std::byte> decompress(Bytes data, std::size_t size) {
  Buffer<std::byte> bytes(size);
  ByteStream stream(data);
  for (std::size_t done = 0; done < size;) {
    const std::uint8_t value = stream.next();
    if (value < 0xC0) {
      bytes[done++] = std::byte{value};
      continue;
    }
    const std::size_t count = std::min<std::size_t>(value & 0x3F, size - done);
    std::memset(bytes.data() + done, stream.next(), count);
    done += count;
  }
  return bytes;
}

}  // namespace

ImageRef read_pcx(Bytes file) {
  const Fields fields(file, std::endian::little);
  Raster raster = read_header(fields);
  Bytes data = fields.rest(header_size);
  if (raster.planes < 3 || raster.bits == 1) raster.palette = palette_of(fields, raster, file);
  if (raster.planes == 1 && raster.bits == 8 && has_final_palette(file))
    data = data.first(data.size() - final_palette_bytes - 1);
  check_raster(raster, file.size());
  const bool run_lengths = fields.u8(2) == 1;
  if (!run_lengths) return read_raster(raster, data);
  return read_raster(raster, decompress(data, static_cast<std::size_t>(raster.bytes())));
}

}  // namespace HalconCpp::detail
