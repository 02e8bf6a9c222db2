// What the plain formats (BMP, GIF, PCX, Sun raster, XWD) share: fields at given places, palettes and pixels that pack
// their channels into a number.
#ifndef HALCONCPP_IMAGES_RASTER_H
#define HALCONCPP_IMAGES_RASTER_H

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "images/codec.h"

namespace HalconCpp::detail {

inline const std::uint8_t* octets(Bytes bytes) noexcept { return reinterpret_cast<const std::uint8_t*>(bytes.data()); }

// Numbers and parts of a file at given places. A place outside the file is a file that ends too early.
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

// Up to 256 colours. Indices that were given no colour are black.
class Palette {
 public:
  Palette() noexcept { tables_[3].fill(255); }

  void set(std::size_t index, std::uint8_t red, std::uint8_t green, std::uint8_t blue) noexcept;
  // From here on there is a fourth channel: 0 at this index, 255 elsewhere.
  void set_transparent(std::size_t index) noexcept;
  // The entry of one channel.
  std::uint8_t value(std::size_t channel, std::size_t index) const noexcept { return tables_[channel][index]; }
  // 4 with a transparent index; 1 when all colours are gray; otherwise 3.
  std::size_t channels() const noexcept { return transparent_ ? 4 : gray_ ? 1 : 3; }
  // The colours of `indices` become pixels of `draft` from pixel `at` on.
  void put(const std::uint8_t* indices, std::size_t pixels, ImageDraft& draft, std::size_t at) const noexcept;

 private:
  std::array<std::array<std::uint8_t, 256>, 4> tables_{};
  bool gray_ = true;
  bool transparent_ = false;
};

// Rows of indices of 1, 2, 4 or 8 bits, the first pixel in the highest bits.
class IndexRow {
 public:
  IndexRow(unsigned bits, std::size_t pixels) : bits_(bits), indices_(bits == 8 ? 0 : pixels) {}
  // One index per byte; valid until the next call.
  const std::uint8_t* operator()(const std::uint8_t* row) noexcept;

 private:
  unsigned bits_;
  Buffer<std::uint8_t> indices_;
};

// Pixels of 2, 3 or 4 bytes in which each channel is the bits of a mask, stretched to 0..255; of a channel of more than
// eight bits the upper eight count.
class PackedPixels {
 public:
  PackedPixels(const std::vector<std::uint32_t>& masks, std::size_t bytes, std::endian order);

  std::size_t channels() const noexcept { return fields_.size(); }
  void put(const std::uint8_t* row, std::size_t pixels, ImageDraft& draft, std::size_t at) const noexcept;

 private:
  struct Field {
    std::uint32_t mask;
    int shift;
    int whole_byte;  // the channel is this byte of the pixel; -1: it is not one byte
    std::array<std::uint8_t, 256> stretched;
  };
  Field field_of(std::uint32_t mask) const noexcept;

  std::vector<Field> fields_;
  std::size_t bytes_;
  std::endian order_;
  bool whole_pixel_;  // three channels that are the three bytes
};

}  // namespace HalconCpp::detail

#endif
