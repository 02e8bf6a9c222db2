// PCX: one to four planes or packed pixels, with run lengths.
#include <algorithm>
#include <string>

#include "core/failure.h"
#include "images/formats.h"
#include "images/raster.h"

namespace HalconCpp::detail {

namespace {

constexpr std::size_t header_size = 128, colors_size = 768;

struct Header {
  unsigned version;
  bool packed;  // with run lengths
  unsigned bits;
  unsigned planes;
  std::uint32_t width, height;
  std::uint32_t plane_bytes;  // of a row
  bool gray;                  // of a file without a palette
};

Header read_header(const Fields& fields) {
  const std::uint32_t left = fields.u16(4), top = fields.u16(6), right = fields.u16(8), bottom = fields.u16(10);
  if (right < left || bottom < top) refuse("its right or bottom border lies before the left or top one");
  Header header{fields.u8(1),     fields.u8(2) == 1, fields.u8(3),   fields.u8(65),
                right - left + 1, bottom - top + 1,  fields.u16(66), fields.u16(68) == 2};
  const unsigned bits = header.bits, planes = header.planes;
  const bool known = (planes == 1 && (bits == 1 || bits == 2 || bits == 4 || bits == 8)) ||
                     (bits == 1 && planes >= 2 && planes <= 4) || (bits == 8 && planes == 3);
  if (!known)
    refuse("a PCX file of " + std::to_string(planes) + " planes of " + std::to_string(bits) + " bits is not read");
  if (header.plane_bytes * 8U < header.width * bits) refuse("its rows are shorter than its width");
  return header;
}

// The file's rows one after the other. Runs may reach into the next row.
class Rows {
 public:
  Rows(Bytes data, bool packed, std::size_t row_bytes) : data_(data), packed_(packed), row_(row_bytes) {}

  const std::uint8_t* next() {
    for (std::size_t done = 0; done < row_.size();) {
      if (left_ == 0) read_run();
      const std::size_t count = std::min(left_, row_.size() - done);
      std::memset(row_.data() + done, value_, count);
      done += count;
      left_ -= count;
    }
    return row_.data();
  }
  // How many bytes the rows so far took.
  std::size_t used() const { return at_; }

 private:
  void read_run() {
    value_ = next_byte();
    left_ = 1;
    if (!packed_ || value_ < 0xC0) return;
    left_ = value_ & 0x3F;
    value_ = next_byte();
  }

  std::uint8_t next_byte() {
    if (at_ == data_.size()) refuse("the file ends too early");
    return static_cast<std::uint8_t>(data_[at_++]);
  }

  Bytes data_;
  bool packed_;
  Buffer<std::uint8_t> row_;
  std::size_t at_ = 0, left_ = 0;
  std::uint8_t value_ = 0;
};

// The sixteen colours that a file of a version without palettes means: two levels of each colour, brown for dark
// yellow.
void set_standard_colors(Palette& palette) {
  for (unsigned i = 0; i < 16; ++i) {
    const auto level = [i](unsigned bit) { return static_cast<std::uint8_t>((i & bit ? 170 : 0) + (i & 8 ? 85 : 0)); };
    palette.set(i, level(4), i == 6 ? 85 : level(2), level(1));
  }
}

Palette header_palette(const Fields& fields, std::size_t colors) {
  const std::uint8_t* rgb = octets(fields.part(16, 48));
  Palette palette;
  if (std::all_of(rgb, rgb + 48, [](std::uint8_t value) { return value == 0; })) {
    set_standard_colors(palette);
    return palette;
  }
  for (std::size_t i = 0; i < colors; ++i) palette.set(i, rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]);
  return palette;
}

Palette gray_palette() {
  Palette palette;
  for (std::size_t i = 0; i < 256; ++i) {
    const auto gray = static_cast<std::uint8_t>(i);
    palette.set(i, gray, gray, gray);
  }
  return palette;
}

bool has_final_palette(Bytes file) {
  return file.size() > header_size + colors_size && file[file.size() - colors_size - 1] == std::byte{0x0C};
}

Palette palette_of(const Fields& fields, const Header& header, Bytes file) {
  Palette palette;
  if (header.planes == 1 && header.bits == 1) {
    palette.set(1, 255, 255, 255);
    return palette;
  }
  if (header.bits < 8) return header_palette(fields, std::size_t{1} << (header.bits * header.planes));
  if (!has_final_palette(file)) {
    if (!header.gray) refuse("its palette is missing: the file ends too early");
    return gray_palette();
  }
  const std::uint8_t* rgb = octets(file.last(colors_size));
  for (std::size_t i = 0; i < 256; ++i) palette.set(i, rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]);
  return palette;
}

// One bit of each plane makes an index, the first plane the lowest bit.
const std::uint8_t* join_bits(const std::uint8_t* row, const Header& header, Buffer<std::uint8_t>& indices) {
  for (std::size_t x = 0; x < indices.size(); ++x) {
    unsigned index = 0;
    for (unsigned plane = 0; plane < header.planes; ++plane)
      index |= (row[plane * header.plane_bytes + x / 8] >> (7 - x % 8) & 1U) << plane;
    indices[x] = static_cast<std::uint8_t>(index);
  }
  return indices.data();
}

ImageDraft draft_of(const Header& header, std::size_t channels, Bytes file) {
  check_image_size(header.width, header.height, channels, PixelType::Byte, file.size());
  return {PixelType::Byte, static_cast<std::int32_t>(header.width), static_cast<std::int32_t>(header.height), channels};
}

ImageRef read_planes(const Header& header, Rows rows, Bytes file) {
  ImageDraft draft = draft_of(header, 3, file);
  for (std::size_t y = 0; y < header.height; ++y) {
    const std::uint8_t* row = rows.next();
    for (std::size_t c = 0; c < 3; ++c)
      std::memcpy(draft.plane<std::uint8_t>(c) + y * header.width, row + c * header.plane_bytes, header.width);
  }
  return draft.finish();
}

ImageRef read_indexed(const Header& header, const Palette& palette, Rows rows, Bytes file) {
  ImageDraft draft = draft_of(header, palette.channels(), file);
  IndexRow unpacked(header.bits, header.width);
  Buffer<std::uint8_t> joined(header.planes > 1 ? header.width : 0);
  for (std::size_t y = 0; y < header.height; ++y) {
    const std::uint8_t* row = rows.next();
    const std::uint8_t* indices = header.planes > 1 ? join_bits(row, header, joined) : unpacked(row);
    palette.put(indices, header.width, draft, y * header.width);
  }
  if (header.bits == 8 && has_final_palette(file) && rows.used() > file.size() - header_size - colors_size - 1)
    refuse("its pixels reach into its palette: the file ends too early");
  return draft.finish();
}

}  // namespace

ImageRef read_pcx(Bytes file) {
  const Fields fields(file, std::endian::little);
  const Header header = read_header(fields);
  Rows rows(fields.rest(header_size), header.packed, std::size_t{header.plane_bytes} * header.planes);
  if (header.planes == 3 && header.bits == 8) return read_planes(header, std::move(rows), file);
  return read_indexed(header, palette_of(fields, header, file), std::move(rows), file);
}

}  // namespace HalconCpp::detail
