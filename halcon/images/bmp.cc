// BMP: the Windows and OS/2 headers, palettes, bit fields, run lengths, and an embedded PNG or JPEG file.
#include <string>

#include "core/failure.h"
#include "images/formats.h"
#include "images/pixels.h"
#include "images/raster.h"

namespace HalconCpp::detail {

namespace {

enum Compression : std::uint32_t { plain = 0, rle8 = 1, rle4 = 2, bit_fields = 3, jpeg = 4, png = 5, alpha_fields = 6 };

constexpr std::uint32_t file_header = 14, os2_header = 12, info_header = 40, v4_header = 108, v5_header = 124;

struct Header {
  std::uint32_t size;  // of the header that follows the file header
  std::uint32_t width;
  std::uint32_t height;
  bool top_down;
  unsigned bits;  // of a pixel
  std::uint32_t compression;
  std::uint32_t colors;  // what the header says; 0: as many as the bits allow
  std::uint32_t pixels_at;

  bool has_masks() const { return compression == bit_fields || compression == alpha_fields; }
  // A row is filled up to 32 bits.
  std::size_t row_bytes() const { return (std::size_t{width} * bits + 31) / 32 * 4; }
  // Where the palette starts: masks that are no part of the header stand before it.
  std::uint32_t palette_at() const {
    const bool masks_follow = size == info_header && has_masks();
    return file_header + size + (masks_follow ? (compression == bit_fields ? 12U : 16U) : 0U);
  }
};

void check_compression(const Header& header) {
  const unsigned bits = header.bits;
  const bool os2_only = header.size == 64 && header.compression > rle4;  // Huffman codes, run lengths of 24 bits
  const bool known = !os2_only && [&] {
    switch (header.compression) {
      case plain:
        return bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
      case rle8:
        return bits == 8;
      case rle4:
        return bits == 4;
      case bit_fields:
      case alpha_fields:
        return bits == 16 || bits == 32;
      default:
        return header.compression == jpeg || header.compression == png;
    }
  }();
  if (!known)
    refuse("a BMP file of " + std::to_string(bits) + " bits per pixel with compression " +
           std::to_string(header.compression) + " is not read");
}

void read_size(const Fields& fields, Header& header) {
  const auto width = static_cast<std::int32_t>(fields.u32(18)), height = static_cast<std::int32_t>(fields.u32(22));
  if (width <= 0 || height == 0)
    refuse("an image of " + std::to_string(width) + " x " + std::to_string(height) + " pixels holds nothing");
  header.width = static_cast<std::uint32_t>(width);
  header.top_down = height < 0;
  header.height = header.top_down ? 0U - static_cast<std::uint32_t>(height) : static_cast<std::uint32_t>(height);
}

Header read_header(const Fields& fields) {
  Header header{};
  header.pixels_at = fields.u32(10);
  header.size = fields.u32(14);
  if (header.size == os2_header) {
    header.width = fields.u16(18);
    header.height = fields.u16(20);
    header.bits = fields.u16(24);
  } else if (header.size >= 16 && header.size <= v5_header) {
    read_size(fields, header);
    header.bits = fields.u16(28);
    // A short header ends before these.
    if (header.size >= 20) header.compression = fields.u32(30);
    if (header.size >= 36) header.colors = fields.u32(46);
  } else {
    refuse("a BMP header of " + std::to_string(header.size) + " bytes is not known");
  }
  check_compression(header);
  if (header.pixels_at < header.palette_at()) refuse("its pixels start inside its header");
  return header;
}

Palette read_palette(const Fields& fields, const Header& header) {
  const std::uint32_t entry = header.size == os2_header ? 3 : 4;
  const std::uint32_t room = (header.pixels_at - header.palette_at()) / entry, most = 1U << header.bits;
  const std::uint32_t claimed = header.colors == 0 || header.colors > most ? most : header.colors;
  const std::uint32_t count = std::min(claimed, room);
  const std::uint8_t* bgr = octets(fields.part(header.palette_at(), std::uint64_t{count} * entry));
  Palette palette;
  for (std::uint32_t i = 0; i < count; ++i, bgr += entry) palette.set(i, bgr[2], bgr[1], bgr[0]);
  return palette;
}

// The run lengths of BMP, unfolded to one index per pixel in the order of the file's rows. Runs may fill a row up as if
// it were plain, so that `stride` indices make a row.
class RunLengths {
 public:
  RunLengths(Bytes data, const Header& header)
      : data_(data),
        width_(header.width),
        height_(header.height),
        stride_(header.row_bytes() * 8 / header.bits),
        wide_(header.compression == rle8) {}

  std::size_t stride() const { return stride_; }

  Buffer<std::uint8_t> unfold() {
    indices_ = Buffer<std::uint8_t>(stride_ * height_);
    std::memset(indices_.data(), 0, indices_.size());  // pixels may be left out
    while (!complete()) {
      const unsigned count = next(), value = next();
      if (count > 0)
        put(count, [&](unsigned i) { return wide_ ? value : i % 2 ? value & 15 : value >> 4; });
      else if (!escape(value))
        break;
    }
    return std::move(indices_);
  }

 private:
  // The end mark may be missing once all is there.
  bool complete() const { return at_ == data_.size() && (y_ >= height_ || (y_ + 1 == height_ && x_ >= width_)); }

  unsigned next() {
    if (at_ == data_.size()) refuse("the file ends too early");
    return static_cast<std::uint8_t>(data_[at_++]);
  }

  // False at the end of the picture.
  bool escape(unsigned code) {
    if (code == 1) return false;
    if (code == 0) {
      x_ = 0;
      ++y_;
    } else if (code == 2) {
      x_ += next();
      y_ += next();
    } else {
      literal(code);
    }
    return true;
  }

  // Pixels one by one, filled up to whole pairs of bytes.
  void literal(unsigned count) {
    unsigned pair = 0;
    put(count, [&](unsigned i) {
      if (wide_) return next();
      if (i % 2 == 0) pair = next();
      return i % 2 ? pair & 15 : pair >> 4;
    });
    if ((wide_ ? count : (count + 1) / 2) % 2) next();
  }

  template <class Index>
  void put(unsigned count, Index&& index) {
    if (y_ >= height_ || x_ > stride_ || count > stride_ - x_) refuse("its run lengths leave the picture");
    std::uint8_t* to = indices_.data() + y_ * stride_ + x_;
    for (unsigned i = 0; i < count; ++i) to[i] = static_cast<std::uint8_t>(index(i));
    x_ += count;
  }

  Bytes data_;
  std::size_t width_, height_, stride_, x_ = 0, y_ = 0;
  bool wide_;  // an index is 8 bits, not 4
  std::size_t at_ = 0;
  Buffer<std::uint8_t> indices_;
};

ImageDraft draft_of(const Header& header, std::size_t channels, Bytes file) {
  check_image_size(header.width, header.height, channels, PixelType::Byte, file.size());
  return {PixelType::Byte, static_cast<std::int32_t>(header.width), static_cast<std::int32_t>(header.height), channels};
}

// Calls `put` with each row of the file and the pixel of the image where it goes.
template <class Put>
void each_row(const Header& header, const std::uint8_t* rows, std::size_t stride, Put&& put) {
  for (std::size_t y = 0; y < header.height; ++y)
    put(rows + y * stride, (header.top_down ? y : header.height - 1 - y) * header.width);
}

ImageRef read_indexed(const Fields& fields, const Header& header, Bytes file) {
  const Palette palette = read_palette(fields, header);
  check_image_size(header.width, header.height, palette.channels(), PixelType::Byte, file.size());
  Buffer<std::uint8_t> unfolded;
  const std::uint8_t* rows;
  std::size_t stride = header.row_bytes();
  const bool runs = header.compression != plain;
  if (runs) {
    RunLengths lengths(fields.rest(header.pixels_at), header);
    unfolded = lengths.unfold();
    rows = unfolded.data();
    stride = lengths.stride();
  } else {
    rows = octets(fields.part(header.pixels_at, std::uint64_t{stride} * header.height));
  }
  ImageDraft draft = draft_of(header, palette.channels(), file);
  IndexRow indices(runs ? 8 : header.bits, header.width);
  each_row(header, rows, stride,
           [&](const std::uint8_t* row, std::size_t at) { palette.put(indices(row), header.width, draft, at); });
  return draft.finish();
}

std::vector<std::uint32_t> masks_of(const Fields& fields, const Header& header) {
  if (!header.has_masks())
    return header.bits == 16 ? std::vector<std::uint32_t>{0x7C00, 0x3E0, 0x1F}
                             : std::vector<std::uint32_t>{0xFF0000, 0xFF00, 0xFF};
  std::vector<std::uint32_t> masks{fields.u32(54), fields.u32(58), fields.u32(62)};
  const bool alpha = header.compression == alpha_fields || header.size >= 56;
  if (alpha && fields.u32(66) != 0) masks.push_back(fields.u32(66));
  return masks;
}

ImageRef read_direct(const Fields& fields, const Header& header, Bytes file) {
  const PackedPixels pixels(masks_of(fields, header), header.bits / 8, std::endian::little);
  const std::size_t stride = header.row_bytes();
  const std::uint8_t* rows = octets(fields.part(header.pixels_at, std::uint64_t{stride} * header.height));
  ImageDraft draft = draft_of(header, pixels.channels(), file);
  each_row(header, rows, stride,
           [&](const std::uint8_t* row, std::size_t at) { pixels.put(row, header.width, draft, at); });
  return draft.finish();
}

ImageRef read_embedded(const Fields& fields, const Header& header) {
  const std::string_view wanted = header.compression == png ? "PNG" : "JPEG";
  const Bytes inner = fields.rest(header.pixels_at);
  for (const ImageReader& reader : image_readers()) {
    if (reader.name != wanted) continue;
    if (!reader.recognizes(inner)) break;
    if (!reader.read) refuse("holds a " + std::string(wanted) + " file: " + reader.missing);
    return reader.read(inner).front();
  }
  refuse("should hold a " + std::string(wanted) + " file, but does not");
}

}  // namespace

ImageRef read_bmp(Bytes file) {
  const Fields fields(file, std::endian::little);
  const Header header = read_header(fields);
  if (header.compression == png || header.compression == jpeg) return read_embedded(fields, header);
  return header.bits <= 8 ? read_indexed(fields, header, file) : read_direct(fields, header, file);
}

namespace {

class Writer {
 public:
  explicit Writer(std::size_t bytes) { file_.reserve(bytes); }
  void u16(std::uint32_t value) { number(value, 2); }
  void u32(std::uint32_t value) { number(value, 4); }
  Buffer<std::byte>& file() { return file_; }

 private:
  void number(std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) file_.push_back(static_cast<std::byte>(value >> (8 * i) & 255));
  }

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
  out.u32(channels == 4 ? bit_fields : plain);
  out.u32(bytes);
  for (int i = 0; i < 4; ++i) out.u32(0);  // no resolution; all colours, all important
  if (channels == 1)
    for (std::uint32_t gray = 0; gray < 256; ++gray) out.u32(gray * 0x010101);
  if (channels != 4) return;
  for (const std::uint32_t mask : {0xFF0000U, 0xFF00U, 0xFFU, 0xFF000000U}) out.u32(mask);
  out.u32(0x73524742);                      // colours are sRGB
  for (int i = 0; i < 12; ++i) out.u32(0);  // which leaves no end points and no gammas to give
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
    refuse_to_write(image, "BMP holds byte images of 1, 3 or 4 channels");
  const std::size_t width = static_cast<std::size_t>(image.width), height = static_cast<std::size_t>(image.height);
  const std::size_t stride = (width * channels + 3) / 4 * 4;
  const std::uint32_t header = channels == 4 ? v4_header : info_header;
  const std::uint32_t pixels_at = file_header + header + (channels == 1 ? 1024 : 0);
  const std::uint64_t bytes = std::uint64_t{stride} * height;
  if (bytes > UINT32_MAX - pixels_at) refuse("BMP holds at most 4 GiB, not " + std::to_string(bytes) + " bytes");

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
