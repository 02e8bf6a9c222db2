// The scanline reader that the plain formats (BMP, PCX, Sun raster, XWD) share. A format reads its header into a
// Raster, decompresses its run lengths if it has any, and leaves the pixels to `read_raster`.
#ifndef HALCONCPP_IMAGES_RASTER_H
#define HALCONCPP_IMAGES_RASTER_H

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "core/buffer.h"
#include "core/failure.h"
#include "iconic/image.h"
#include "images/codec.h"

namespace HalconCpp::detail {

inline const std::uint8_t* octets(Bytes bytes) noexcept { return reinterpret_cast<const std::uint8_t*>(bytes.data()); }

// Numbers and parts of a file at given offsets. An offset outside the file fails: "the file ends too early".
class Fields {
 public:
  Fields(Bytes file, std::endian order) noexcept : file_(file), order_(order) {}

  std::uint32_t u8(std::uint64_t at) const { return number(at, 1); }
  std::uint32_t u16(std::uint64_t at) const { return number(at, 2); }
  std::uint32_t u32(std::uint64_t at) const { return number(at, 4); }
  Bytes part(std::uint64_t at, std::uint64_t bytes) const;
  Bytes rest(std::uint64_t at) const;

 private:
  std::uint32_t number(std::uint64_t at, std::size_t bytes) const;

  Bytes file_;
  std::endian order_;
};

// Takes bytes one after the other. Taking more than there are fails: "the file ends too early".
class ByteStream {
 public:
  explicit ByteStream(Bytes bytes) noexcept : bytes_(bytes) {}
  std::uint8_t next() { return static_cast<std::uint8_t>(take(1)[0]); }
  std::uint32_t number(std::size_t size) {  // big-endian
    std::uint32_t value = 0;
    for (const std::byte b : take(size)) value = value << 8 | std::to_integer<std::uint32_t>(b);
    return value;
  }
  Bytes take(std::uint64_t size) {
    if (size > bytes_.size()) fail("the file ends too early");
    const Bytes taken = bytes_.first(static_cast<std::size_t>(size));
    bytes_ = bytes_.subspan(taken.size());
    return taken;
  }
  std::size_t left() const noexcept { return bytes_.size(); }
  bool at_end() const noexcept { return bytes_.empty(); }

 private:
  Bytes bytes_;
};

// Appends a number of `size` bytes.
void append_number(Buffer<std::byte>& file, std::uint32_t value, int size, std::endian order);

// Up to 256 colors. An index without a color is black; one without an alpha is opaque.
class Palette {
 public:
  Palette() noexcept { tables_[3].fill(255); }
  // Color i has its red, green and blue at from[i * step + offset of the channel].
  Palette(const std::uint8_t* from, std::size_t colors, std::size_t step, std::array<std::size_t, 3> offsets) noexcept;
  // Black to white.
  static Palette gray_ramp(std::size_t colors) noexcept;

  void set(std::size_t index, std::uint8_t red, std::uint8_t green, std::uint8_t blue) noexcept;
  void set_alpha(std::size_t index, std::uint8_t alpha) noexcept;
  std::uint8_t value(std::size_t channel, std::size_t index) const noexcept { return tables_[channel][index]; }
  // 4 when any color has an alpha; otherwise 1 when all colors are gray, and 3 when not.
  std::size_t channels() const noexcept { return alpha_ ? 4 : gray_ ? 1 : 3; }
  // The colors of `indices` become pixels of `draft` from pixel `at` on.
  void put(const std::uint8_t* indices, std::size_t pixels, ImageDraft& draft, std::size_t at) const noexcept;

 private:
  std::array<std::array<std::uint8_t, 256>, 4> tables_{};  // red, green, blue, alpha
  bool gray_ = true, alpha_ = false;
};

// How a file holds its pixels:
// - bits 1, 2, 4, 8 without masks: indices into `palette`, the first pixel in the highest bits. With several planes of
//   1 bit, the bit of plane k is bit k of the index.
// - bits 8 in 3 or 4 planes: the channels themselves.
// - bits 16, 24, 32: numbers in byte order `order`, in which each channel is the bits of one mask. Channels are
//   scaled to 0..255, rounded to the nearest.
struct Raster {
  std::uint32_t width = 0, height = 0;
  unsigned bits = 0;          // of a pixel in one plane
  unsigned planes = 1;        // of a row, one after the other, of row_bytes / planes bytes each
  std::size_t row_bytes = 0;  // with padding
  bool bottom_up = false;
  std::endian order = std::endian::big;
  Palette palette;
  std::vector<std::uint32_t> masks;

  std::size_t channels() const noexcept;
  std::uint64_t bytes() const noexcept { return std::uint64_t{row_bytes} * height; }
};

// Rejects a size that the limits or a file of `file_bytes` bytes do not allow. Call it before anything is decompressed.
void check_raster(const Raster& raster, std::size_t file_bytes);
// The image whose decompressed rows are the first raster.bytes() of `rows`; rejects fewer. check_raster has passed.
ImageRef read_raster(const Raster& raster, Bytes rows);

}  // namespace HalconCpp::detail

#endif
