// Sun raster files: old, standard, run lengths and RGB, of 1, 8, 24 and 32 bits.
#include <algorithm>
#include <string>

#include "core/failure.h"
#include "images/formats.h"
#include "images/raster.h"

namespace HalconCpp::detail {

namespace {

constexpr std::size_t header_size = 32;

enum Kind : std::uint32_t { old = 0, standard = 1, run_lengths = 2, rgb = 3 };

struct Header {
  std::uint32_t width, height, bits, kind, map_kind, map_bytes;
};

Header read_header(const Fields& fields) {
  const Header header{fields.u32(4), fields.u32(8), fields.u32(12), fields.u32(20), fields.u32(24), fields.u32(28)};
  const std::uint32_t bits = header.bits;
  if (header.kind > rgb) refuse("a Sun raster file of type " + std::to_string(header.kind) + " is not read");
  if (bits != 1 && bits != 8 && bits != 24 && bits != 32)
    refuse("a Sun raster file of " + std::to_string(bits) + " bits per pixel is not read");
  const bool no_map = header.map_bytes == 0, planes_map = header.map_kind == 1 && bits <= 8;
  if (!no_map && (!planes_map || header.map_bytes > 768 || header.map_bytes % 3 != 0))
    refuse("a colour map of type " + std::to_string(header.map_kind) + " and " + std::to_string(header.map_bytes) +
           " bytes is not read with " + std::to_string(bits) + " bits per pixel");
  return header;
}

// Without a map a bit that is set is black, and 8 bits are gray.
Palette palette_of(const Fields& fields, const Header& header) {
  Palette palette;
  const auto gray = [&](std::size_t index, std::size_t value) {
    const auto level = static_cast<std::uint8_t>(value);
    palette.set(index, level, level, level);
  };
  if (header.map_bytes > 0) {
    const std::size_t colors = header.map_bytes / 3;
    const std::uint8_t* map = octets(fields.part(header_size, header.map_bytes));
    for (std::size_t i = 0; i < colors; ++i) palette.set(i, map[i], map[colors + i], map[2 * colors + i]);
  } else if (header.bits == 1) {
    gray(0, 255);
  } else {
    for (std::size_t i = 0; i < 256; ++i) gray(i, i);
  }
  return palette;
}

// 128 starts a run: 128, count - 1, value. A count of 0 means a single 128.
Buffer<std::uint8_t> unfold(Bytes data, std::size_t size) {
  Buffer<std::uint8_t> unfolded(size);
  std::size_t at = 0;
  const auto next = [&] {
    if (at == data.size()) refuse("the file ends too early");
    return static_cast<std::uint8_t>(data[at++]);
  };
  for (std::size_t done = 0; done < size;) {
    std::uint8_t value = next();
    std::size_t count = 1;
    if (value == 128) {
      count += next();
      if (count > 1) value = next();
    }
    count = std::min(count, size - done);
    std::memset(unfolded.data() + done, value, count);
    done += count;
  }
  return unfolded;
}

}  // namespace

ImageRef read_ras(Bytes file) {
  const Fields fields(file, std::endian::big);
  const Header header = read_header(fields);
  // Rows are filled up to 16 bits.
  const std::size_t stride = (std::size_t{header.width} * header.bits + 15) / 16 * 2;
  const bool indexed = header.bits <= 8;
  const Palette palette = indexed ? palette_of(fields, header) : Palette();
  const std::size_t channels = indexed ? palette.channels() : 3;
  check_image_size(header.width, header.height, channels, PixelType::Byte, file.size());

  const std::uint64_t data_at = header_size + std::uint64_t{header.map_bytes},
                      size = std::uint64_t{stride} * header.height;
  Buffer<std::uint8_t> unfolded;
  if (header.kind == run_lengths) unfolded = unfold(fields.rest(data_at), static_cast<std::size_t>(size));
  const std::uint8_t* rows = header.kind == run_lengths ? unfolded.data() : octets(fields.part(data_at, size));

  ImageDraft draft(PixelType::Byte, static_cast<std::int32_t>(header.width), static_cast<std::int32_t>(header.height),
                   channels);
  IndexRow indices(indexed ? header.bits : 8, header.width);
  const bool red_first = header.kind == rgb;
  const std::uint32_t red = red_first ? 0xFF0000 : 0xFF, blue = red_first ? 0xFF : 0xFF0000;
  const PackedPixels pixels({red, 0xFF00, blue}, header.bits / 8, std::endian::big);
  for (std::size_t y = 0; y < header.height; ++y) {
    if (indexed)
      palette.put(indices(rows + y * stride), header.width, draft, y * header.width);
    else
      pixels.put(rows + y * stride, header.width, draft, y * header.width);
  }
  return draft.finish();
}

}  // namespace HalconCpp::detail
