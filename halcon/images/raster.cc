#include "images/raster.h"

#include <algorithm>
#include <cstring>

#include "core/buffer.h"
#include "iconic/plane.h"
#include "images/pixels.h"

namespace HalconCpp::detail {

Bytes Fields::part(std::uint64_t at, std::uint64_t bytes) const {
  const Bytes tail = rest(at);
  if (bytes > tail.size()) fail("the file ends too early");
  return tail.first(static_cast<std::size_t>(bytes));
}

Bytes Fields::rest(std::uint64_t at) const {
  if (at > file_.size()) fail("the file ends too early");
  return file_.subspan(static_cast<std::size_t>(at));
}

std::uint32_t Fields::number(std::uint64_t at, std::size_t bytes) const {
  const std::uint8_t* digits = octets(part(at, bytes));
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < bytes; ++i) value = value << 8 | digits[order_ == std::endian::big ? i : bytes - 1 - i];
  return value;
}

void append_number(Buffer<std::byte>& file, std::uint32_t value, int size, std::endian order) {
  for (int i = 0; i < size; ++i)
    file.push_back(static_cast<std::byte>(value >> 8 * (order == std::endian::little ? i : size - 1 - i) & 255));
}

Palette::Palette(const std::uint8_t* from, std::size_t colors, std::size_t step,
                 std::array<std::size_t, 3> offsets) noexcept
    : Palette() {
  for (std::size_t i = 0; i < colors; ++i, from += step) set(i, from[offsets[0]], from[offsets[1]], from[offsets[2]]);
}

Palette Palette::gray_ramp(std::size_t colors) noexcept {
  Palette palette;
  for (std::size_t i = 0; i < colors; ++i) {
    const auto gray = static_cast<std::uint8_t>(i * 255 / (colors - 1));
    palette.set(i, gray, gray, gray);
  }
  return palette;
}

void Palette::set(std::size_t index, std::uint8_t red, std::uint8_t green, std::uint8_t blue) noexcept {
  tables_[0][index] = red;
  tables_[1][index] = green;
  tables_[2][index] = blue;
  gray_ = gray_ && red == green && green == blue;
}

void Palette::set_alpha(std::size_t index, std::uint8_t alpha) noexcept {
  tables_[3][index] = alpha;
  alpha_ = true;
}

void Palette::put(const std::uint8_t* indices, std::size_t pixels, ImageDraft& draft, std::size_t at) const noexcept {
  for (std::size_t c = 0; c < draft.channels(); ++c) {
    const auto& table = tables_[c];
    std::uint8_t* plane = draft.plane<std::uint8_t>(c) + at;
    for (std::size_t i = 0; i < pixels; ++i) plane[i] = table[indices[i]];
  }
}

namespace {

// A stored row becomes pixels of `draft` from pixel `at` on.
class IndexRows {
 public:
  explicit IndexRows(const Raster& raster) : raster_(raster), indices_(raster.width) {}

  void put(const std::uint8_t* row, ImageDraft& draft, std::size_t at) {
    if (raster_.bits < 8 && raster_.planes == 1)
      unpack(row);
    else if (raster_.bits < 8)
      join_planes(row);
    raster_.palette.put(raster_.bits == 8 ? row : indices_.data(), raster_.width, draft, at);
  }

 private:
  void unpack(const std::uint8_t* row) noexcept {
    const unsigned bits = raster_.bits, per_byte = 8 / bits, mask = (1U << bits) - 1;
    for (std::size_t i = 0; i < indices_.size(); ++i) {
      const unsigned below = bits * (per_byte - 1 - static_cast<unsigned>(i % per_byte));
      indices_[i] = static_cast<std::uint8_t>(row[i / per_byte] >> below & mask);
    }
  }

  void join_planes(const std::uint8_t* row) noexcept {
    const std::size_t plane_bytes = raster_.row_bytes / raster_.planes;
    for (std::size_t x = 0; x < indices_.size(); ++x) {
      unsigned index = 0;
      for (unsigned plane = 0; plane < raster_.planes; ++plane)
        index |= (row[plane * plane_bytes + x / 8] >> (7 - x % 8) & 1U) << plane;
      indices_[x] = static_cast<std::uint8_t>(index);
    }
  }

  const Raster& raster_;
  Buffer<std::uint8_t> indices_;
};

class PlaneRows {
 public:
  explicit PlaneRows(const Raster& raster) : raster_(raster) {}
  void put(const std::uint8_t* row, ImageDraft& draft, std::size_t at) const noexcept {
    for (std::size_t c = 0; c < raster_.planes; ++c)
      std::memcpy(draft.plane<std::uint8_t>(c) + at, row + c * (raster_.row_bytes / raster_.planes), raster_.width);
  }

 private:
  const Raster& raster_;
};

// One channel of a pixel that is stored as a number.
struct Field {
  std::uint32_t mask;
  int shift;                             // down to the lowest bit of the mask
  int whole_byte;                        // the channel is this byte of the pixel; -1: it is not one byte
  std::uint64_t max;                     // of the channel as stored
  std::array<std::uint8_t, 256> scaled;  // of channels of up to 8 bits: a table is faster than the division

  std::uint8_t value(std::uint32_t pixel) const noexcept {
    const std::uint32_t stored = (pixel & mask) >> shift;
    return max < 256 ? scaled[stored] : scale(stored);
  }
  std::uint8_t scale(std::uint64_t stored) const noexcept {
    return static_cast<std::uint8_t>((stored * 255 + max / 2) / max);
  }
};

Field field_of(std::uint32_t mask, unsigned pixel_bytes, std::endian order) noexcept {
  Field field{mask, 0, -1, 0, {}};
  if (mask == 0) return field;
  field.shift = std::countr_zero(mask);
  field.max = (std::uint64_t{1} << (std::bit_width(mask) - field.shift)) - 1;
  for (std::size_t i = 0; i <= std::min<std::uint64_t>(field.max, 255); ++i) field.scaled[i] = field.scale(i);
  const int byte = field.shift / 8, size = static_cast<int>(pixel_bytes);
  if (mask == 0xFFU << (8 * byte) && byte < size)
    field.whole_byte = order == std::endian::little ? byte : size - 1 - byte;
  return field;
}

template <std::size_t bytes, std::endian order>
std::uint32_t pixel_at(const std::uint8_t* from) noexcept {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < bytes; ++i)
    value |= std::uint32_t{from[order == std::endian::little ? i : bytes - 1 - i]} << (8 * i);
  return value;
}

// Calls `body` with the function that reads such a pixel.
template <class Body>
void with_pixel_reader(std::size_t bytes, std::endian order, Body&& body) {
  constexpr auto little = std::endian::little, big = std::endian::big;
  if (bytes == 2) return order == little ? body(pixel_at<2, little>) : body(pixel_at<2, big>);
  if (bytes == 3) return order == little ? body(pixel_at<3, little>) : body(pixel_at<3, big>);
  return order == little ? body(pixel_at<4, little>) : body(pixel_at<4, big>);
}

// Channels that are whole bytes, as nearly always, are copied by the vectorized loops of images/pixels.h.
class NumberRows {
 public:
  explicit NumberRows(const Raster& raster) : width_(raster.width), bytes_(raster.bits / 8), order_(raster.order) {
    unsigned seen = 0;
    for (const std::uint32_t mask : raster.masks) {
      fields_.push_back(field_of(mask, raster.bits / 8, raster.order));
      if (fields_.back().whole_byte >= 0) seen |= 1U << fields_.back().whole_byte;
    }
    whole_pixel_ = bytes_ == 3 && fields_.size() == 3 && seen == 7;
  }

  void put(const std::uint8_t* row, ImageDraft& draft, std::size_t at) const noexcept {
    if (whole_pixel_) {
      std::uint8_t* planes[3];
      for (std::size_t c = 0; c < 3; ++c) planes[fields_[c].whole_byte] = draft.plane<std::uint8_t>(c) + at;
      return split_three(row, width_, planes[0], planes[1], planes[2]);
    }
    for (std::size_t c = 0; c < fields_.size(); ++c) {
      const Field& field = fields_[c];
      std::uint8_t* const plane = draft.plane<std::uint8_t>(c) + at;
      if (field.whole_byte >= 0 && bytes_ == 4) {
        split_channel(row + field.whole_byte, 4, width_, plane);
        continue;
      }
      with_pixel_reader(bytes_, order_, [&](auto read) {
        for (std::size_t i = 0; i < width_; ++i) plane[i] = field.value(read(row + i * bytes_));
      });
    }
  }

 private:
  std::vector<Field> fields_;
  std::size_t width_, bytes_;
  std::endian order_;
  bool whole_pixel_;  // three channels that are the three bytes
};

template <class Rows>
ImageRef read_rows(const Raster& raster, const std::uint8_t* stored, Rows rows) {
  ImageDraft draft(PixelType::Byte, static_cast<std::int32_t>(raster.width), static_cast<std::int32_t>(raster.height),
                   raster.channels());
  for (std::size_t y = 0; y < raster.height; ++y, stored += raster.row_bytes)
    rows.put(stored, draft, (raster.bottom_up ? raster.height - 1 - y : y) * raster.width);
  return draft.finish();
}

}  // namespace

std::size_t Raster::channels() const noexcept {
  if (!masks.empty()) return masks.size();
  return bits == 8 && planes > 1 ? planes : palette.channels();
}

void check_raster(const Raster& raster, std::size_t file_bytes) {
  // With the padding of the rows, which some formats declare.
  const std::uint64_t row_bits = std::uint64_t{8} * (raster.row_bytes / raster.planes);
  check_image_size(std::max<std::uint64_t>(raster.width, row_bits / raster.bits), raster.height, raster.channels(),
                   PixelType::Byte, file_bytes);
}

ImageRef read_raster(const Raster& raster, Bytes rows) {
  if (rows.size() < raster.bytes()) fail("the file ends too early");
  if (!raster.masks.empty()) return read_rows(raster, octets(rows), NumberRows(raster));
  if (raster.bits == 8 && raster.planes > 1) return read_rows(raster, octets(rows), PlaneRows(raster));
  return read_rows(raster, octets(rows), IndexRows(raster));
}

}  // namespace HalconCpp::detail
