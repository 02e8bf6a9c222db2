// BMP after "Bitmap Storage" (Windows GDI: BITMAPFILEHEADER, then BITMAPCOREHEADER, BITMAPINFOHEADER or a later one)
// and the OS/2 2.x header of 64 bytes. Little-endian fields: bfOffBits, biSize, biWidth, biHeight (negative: top row
// first), biBitCount, biCompression, biClrUsed; masks, a palette of blue, green, red, and the rows, bottom row first.
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/buffer.h"
#include "core/failure.h"
#include "iconic/image.h"
#include "iconic/plane.h"
#include "images/codec.h"
#include "images/formats.h"
#include "images/pixels.h"
#include "images/raster.h"

namespace HalconCpp::detail {

namespace {

constexpr std::uint32_t file_header = 14, core_header = 12, info_header = 40, os2_header = 64, v4_header = 108,
                        v5_header = 124;

// biCompression. In an OS/2 header 3 means Huffman codes, which are not read, and 4 run lengths of 24 bits.
enum Compression : std::uint32_t {
  rgb = 0,
  rle8 = 1,
  rle4 = 2,
  bit_fields = 3,
  jpeg = 4,
  png = 5,
  alpha_fields = 6,
  rle24 = 0x18
};

constexpr struct {
  Compression compression;
  unsigned bits;
} layouts[] = {{rgb, 1},         {rgb, 2},         {rgb, 4},           {rgb, 8},          {rgb, 16},
               {rgb, 24},        {rgb, 32},        {rle8, 8},          {rle4, 4},         {rle24, 24},
               {bit_fields, 16}, {bit_fields, 32}, {alpha_fields, 16}, {alpha_fields, 32}};

struct Header {
  std::uint32_t size = 0;  // of the header after the file header
  std::uint32_t compression = rgb;
  std::uint32_t colors = 0;  // biClrUsed; 0: as many as the bits allow
  std::uint32_t pixels_at = 0;

  bool has_masks() const { return compression == bit_fields || compression == alpha_fields; }
  bool has_run_lengths() const { return compression == rle8 || compression == rle4 || compression == rle24; }
  // Masks that are not part of the header come between it and the palette.
  std::uint32_t palette_at() const {
    const bool masks_follow = size == info_header && has_masks();
    return file_header + size + (masks_follow ? (compression == bit_fields ? 12U : 16U) : 0U);
  }
};

void read_size(const Fields& fields, Raster& raster) {
  const auto width = static_cast<std::int32_t>(fields.u32(18)), height = static_cast<std::int32_t>(fields.u32(22));
  if (width <= 0 || height == 0)
    fail("an image of " + std::to_string(width) + " x " + std::to_string(height) + " pixels holds nothing");
  raster.width = static_cast<std::uint32_t>(width);
  raster.bottom_up = height > 0;
  raster.height = height > 0 ? static_cast<std::uint32_t>(height) : 0U - static_cast<std::uint32_t>(height);
}

Header read_header(const Fields& fields, Raster& raster) {
  Header header;
  header.pixels_at = fields.u32(10);
  header.size = fields.u32(14);
  if (header.size == core_header) {
    raster.width = fields.u16(18);
    raster.height = fields.u16(20);
    raster.bottom_up = true;
    raster.bits = fields.u16(24);
  } else if (header.size >= 16 && header.size <= v5_header) {
    read_size(fields, raster);
    raster.bits = fields.u16(28);
    // An OS/2 header may end before these.
    if (header.size >= 20) header.compression = fields.u32(30);
    if (header.size >= 36) header.colors = fields.u32(46);
  } else {
    fail("a BMP header of " + std::to_string(header.size) + " bytes is not known");
  }
  if (header.pixels_at < header.palette_at()) fail("its pixels start inside its header");
  return header;
}

// Translates biCompression of OS/2 files, and rejects what is not read.
void check_compression(Header& header, unsigned bits) {
  const bool os2 = header.size == os2_header && header.compression > rle4;
  const std::uint32_t stored = header.compression;
  if (os2 && stored == 4) header.compression = rle24;
  const bool known = std::any_of(std::begin(layouts), std::end(layouts), [&](auto layout) {
    return layout.compression == header.compression && layout.bits == bits;
  });
  const bool embedded = stored == jpeg || stored == png;
  if ((os2 && header.compression != rle24) || !(known || embedded))
    fail("a BMP file of " + std::to_string(bits) + " bits per pixel with compression " + std::to_string(stored) +
         (os2 ? " (OS/2)" : "") + " is not read");
}

Palette read_palette(const Fields& fields, const Header& header, unsigned bits) {
  const std::uint32_t entry = header.size == core_header ? 3 : 4;
  const std::uint32_t room = (header.pixels_at - header.palette_at()) / entry, max = 1U << bits;
  const std::uint32_t declared = header.colors == 0 || header.colors > max ? max : header.colors;
  const std::uint32_t count = std::min(declared, room);
  return Palette(octets(fields.part(header.palette_at(), std::uint64_t{count} * entry)), count, entry, {2, 1, 0});
}

std::vector<std::uint32_t> read_masks(const Fields& fields, const Header& header, unsigned bits) {
  if (!header.has_masks())
    return bits == 16 ? std::vector<std::uint32_t>{0x7C00, 0x3E0, 0x1F}
                      : std::vector<std::uint32_t>{0xFF0000, 0xFF00, 0xFF};
  std::vector<std::uint32_t> masks{fields.u32(54), fields.u32(58), fields.u32(62)};
  const bool alpha = header.compression == alpha_fields || header.size >= 56;
  if (alpha && fields.u32(66) != 0) masks.push_back(fields.u32(66));
  return masks;
}

// The run lengths of BMP, decompressed to pixels of one byte (indices) or three bytes, in the order of the file's rows.
// Runs may fill a row up to the padding that a plain row has, so the decompressed rows have it too.
class RunLengths {
 public:
  RunLengths(Bytes data, std::uint32_t compression, const Raster& raster)
      : stream_(data),
        width_(raster.width),
        height_(raster.height),
        stride_(raster.row_bytes * 8 / raster.bits),
        pixel_bytes_(compression == rle24 ? 3 : 1),
        nibbles_(compression == rle4) {}

  std::size_t row_bytes() const { return stride_ * pixel_bytes_; }

  Buffer<std::byte> decompress() {
    pixels_ = Buffer<std::byte>(row_bytes() * height_);
    std::memset(pixels_.data(), 0, pixels_.size());  // pixels may be left out
    while (!complete()) {
      if (const unsigned count = stream_.next())
        run(count);
      else if (const unsigned code = stream_.next(); !escape(code))
        break;
    }
    return std::move(pixels_);
  }

 private:
  // The end mark may be missing once all pixels have been read.
  bool complete() const { return stream_.at_end() && (y_ >= height_ || (y_ + 1 == height_ && x_ >= width_)); }

  // One pixel `count` times; with 4 bits two pixels in turn.
  void run(unsigned count) {
    std::uint8_t pixel[3];
    for (std::size_t i = 0; i < pixel_bytes_; ++i) pixel[i] = stream_.next();
    put(count,
        [&](unsigned i, std::size_t byte) { return nibbles_ ? (i % 2 ? pixel[0] & 15 : pixel[0] >> 4) : pixel[byte]; });
  }

  // False at the end of the image.
  bool escape(unsigned code) {
    if (code == 1) return false;
    if (code == 0) {
      x_ = 0;
      ++y_;
    } else if (code == 2) {
      x_ += stream_.next();
      y_ += stream_.next();
    } else {
      literal(code);
    }
    return true;
  }

  // Pixels one by one, padded to whole pairs of bytes.
  void literal(unsigned count) {
    unsigned pair = 0;
    put(count, [&](unsigned i, std::size_t) -> unsigned {
      if (!nibbles_) return stream_.next();
      if (i % 2 == 0) pair = stream_.next();
      return i % 2 ? pair & 15 : pair >> 4;
    });
    const std::size_t bytes = nibbles_ ? (count + 1) / 2 : count * pixel_bytes_;
    if (bytes % 2) stream_.next();
  }

  template <class Byte>
  void put(unsigned count, Byte&& byte) {
    if (y_ >= height_ || x_ > stride_ || count > stride_ - x_) fail("its run lengths leave the image");
    std::byte* to = pixels_.data() + (y_ * stride_ + x_) * pixel_bytes_;
    for (unsigned i = 0; i < count; ++i)
      for (std::size_t k = 0; k < pixel_bytes_; ++k) *to++ = static_cast<std::byte>(byte(i, k));
    x_ += count;
  }

  ByteStream stream_;
  std::size_t width_, height_, stride_, x_ = 0, y_ = 0;  // in pixels
  std::size_t pixel_bytes_;
  bool nibbles_;  // an index is 4 bits, not 8
  Buffer<std::byte> pixels_;
};

ImageRef read_embedded(Bytes inner, std::string_view wanted) {
  for (const ImageReader& reader : image_readers()) {
    if (reader.name != wanted) continue;
    if (!reader.recognizes(inner)) break;
    if (!reader.read) fail("holds a " + std::string(wanted) + " file: " + reader.missing);
    return reader.read(inner).front();
  }
  fail("should hold a " + std::string(wanted) + " file, but does not");
}

}  // namespace

ImageRef read_bmp(Bytes file) {
  const Fields fields(file, std::endian::little);
  Raster raster;
  raster.order = std::endian::little;
  Header header = read_header(fields, raster);
  check_compression(header, raster.bits);
  const Bytes data = fields.rest(header.pixels_at);
  if (header.compression == png) return read_embedded(data, "PNG");
  if (header.compression == jpeg) return read_embedded(data, "JPEG");
  if (raster.bits <= 8)
    raster.palette = read_palette(fields, header, raster.bits);
  else
    raster.masks = read_masks(fields, header, raster.bits);
  raster.row_bytes = (std::size_t{raster.width} * raster.bits + 31) / 32 * 4;  // rows are padded to 32 bits
  check_raster(raster, file.size());
  if (!header.has_run_lengths()) return read_raster(raster, data);
  RunLengths runs(data, header.compression, raster);
  raster.row_bytes = runs.row_bytes();
  if (header.compression == rle4) raster.bits = 8;
  return read_raster(raster, runs.decompress());
}

namespace {

class Writer {
 public:
  explicit Writer(std::size_t bytes) { file_.reserve(bytes); }
  void u16(std::uint32_t value) { append_number(file_, value, 2, std::endian::little); }
  void u32(std::uint32_t value) { append_number(file_, value, 4, std::endian::little); }
  const Buffer<std::byte>& file() const { return file_; }

 private:
  Buffer<std::byte> file_;
};

void write_header(Writer& out, const Image& image, std::uint32_t header, std::uint32_t pixels_at, std::uint32_t bytes) {
  const std::size_t channels = image.channels.size();
  out.u16(0x4D42);  // "BM"
  out.u32(pixels_at + bytes);
  out.u32(0);
  out.u32(pixels_at);
  out.u32(header);
  out.u32(static_cast<std::uint32_t>(image.width));
  out.u32(static_cast<std::uint32_t>(image.height));
  out.u16(1);
  out.u16(static_cast<std::uint32_t>(8 * channels));
  out.u32(channels == 4 ? bit_fields : rgb);
  out.u32(bytes);
  for (int i = 0; i < 4; ++i) out.u32(0);  // no resolution; all colors are used and important
  if (channels == 1)
    for (std::uint32_t gray = 0; gray < 256; ++gray) out.u32(gray * 0x010101);
  if (channels != 4) return;
  for (const std::uint32_t mask : {0xFF0000U, 0xFF00U, 0xFFU, 0xFF000000U}) out.u32(mask);
  out.u32(0x73524742);                      // colors are sRGB
  for (int i = 0; i < 12; ++i) out.u32(0);  // so there are no end points and gammas
}

// Blue, green, red, alpha; a single channel as it is.
void write_row(const Image& image, std::size_t at, std::size_t width, std::uint8_t* row) {
  const auto plane = [&](std::size_t channel) { return image.plane<std::uint8_t>(channel) + at; };
  const std::size_t channels = image.channels.size();
  if (channels == 1) {
    std::memcpy(row, plane(0), width);
  } else if (channels == 3) {
    join_three(plane(2), plane(1), plane(0), width, row);
  } else {
    for (const std::size_t channel : {0, 1, 2, 3})
      join_channel(plane(channel), 4, width, row + (channel < 3 ? 2 - channel : 3));
  }
}

}  // namespace

Buffer<std::byte> write_bmp(const Image& image) {
  const std::size_t channels = image.channels.size();
  if (image.type != PixelType::Byte || channels == 2 || channels > 4)
    reject_to_write(image, "BMP holds byte images of 1, 3 or 4 channels");
  const std::size_t width = static_cast<std::size_t>(image.width), height = static_cast<std::size_t>(image.height);
  const std::size_t stride = (width * channels + 3) / 4 * 4;
  const std::uint32_t header = channels == 4 ? v4_header : info_header;
  const std::uint32_t pixels_at = file_header + header + (channels == 1 ? 1024 : 0);
  const std::uint64_t bytes = std::uint64_t{stride} * height;
  if (bytes > UINT32_MAX - pixels_at) fail("BMP holds at most 4 GiB, not " + std::to_string(bytes) + " bytes");

  Writer out(pixels_at);
  write_header(out, image, header, pixels_at, static_cast<std::uint32_t>(bytes));
  Buffer<std::byte> file(pixels_at + static_cast<std::size_t>(bytes));
  std::memcpy(file.data(), out.file().data(), pixels_at);
  auto* row = reinterpret_cast<std::uint8_t*>(file.data()) + pixels_at;
  for (std::size_t y = height; y-- > 0; row += stride) {
    write_row(image, y * width, width, row);
    std::memset(row + width * channels, 0, stride - width * channels);
  }
  return file;
}

}  // namespace HalconCpp::detail
