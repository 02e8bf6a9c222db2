#include "images/raster.h"

#include <algorithm>

#include "core/failure.h"
#include "images/pixels.h"

namespace HalconCpp::detail {

Bytes Fields::part(std::uint64_t at, std::uint64_t bytes) const {
  const Bytes tail = rest(at);
  if (bytes > tail.size()) refuse("the file ends too early");
  return tail.first(static_cast<std::size_t>(bytes));
}

Bytes Fields::rest(std::uint64_t at) const {
  if (at > file_.size()) refuse("the file ends too early");
  return file_.subspan(static_cast<std::size_t>(at));
}

std::uint32_t Fields::number(std::uint64_t at, std::size_t bytes) const {
  const std::uint8_t* digits = octets(part(at, bytes));
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < bytes; ++i) value = value << 8 | digits[order_ == std::endian::big ? i : bytes - 1 - i];
  return value;
}

void Palette::set(std::size_t index, std::uint8_t red, std::uint8_t green, std::uint8_t blue) noexcept {
  tables_[0][index] = red;
  tables_[1][index] = green;
  tables_[2][index] = blue;
  gray_ = gray_ && red == green && green == blue;
}

void Palette::set_transparent(std::size_t index) noexcept {
  tables_[3][index] = 0;
  transparent_ = true;
}

void Palette::put(const std::uint8_t* indices, std::size_t pixels, ImageDraft& draft, std::size_t at) const noexcept {
  for (std::size_t c = 0; c < draft.channels(); ++c) {
    const auto& table = tables_[c];
    std::uint8_t* plane = draft.plane<std::uint8_t>(c) + at;
    for (std::size_t i = 0; i < pixels; ++i) plane[i] = table[indices[i]];
  }
}

const std::uint8_t* IndexRow::operator()(const std::uint8_t* row) noexcept {
  if (bits_ == 8) return row;
  const unsigned per_byte = 8 / bits_, mask = (1U << bits_) - 1;
  for (std::size_t i = 0; i < indices_.size(); ++i) {
    const unsigned below = bits_ * (per_byte - 1 - static_cast<unsigned>(i % per_byte));
    indices_[i] = static_cast<std::uint8_t>(row[i / per_byte] >> below & mask);
  }
  return indices_.data();
}

PackedPixels::PackedPixels(const std::vector<std::uint32_t>& masks, std::size_t bytes, std::endian order)
    : bytes_(bytes), order_(order) {
  for (const std::uint32_t mask : masks) fields_.push_back(field_of(mask));
  unsigned seen = 0;
  for (const Field& field : fields_)
    if (field.whole_byte >= 0) seen |= 1U << field.whole_byte;
  whole_pixel_ = bytes == 3 && fields_.size() == 3 && seen == 7;
}

PackedPixels::Field PackedPixels::field_of(std::uint32_t mask) const noexcept {
  Field field{mask, 0, -1, {}};
  if (mask == 0) return field;
  const int lowest = std::countr_zero(mask), end = static_cast<int>(std::bit_width(mask));
  const int bits = std::min(end - lowest, 8);
  field.shift = end - bits;
  const int most = (1 << bits) - 1;
  for (int value = 0; value <= most; ++value)
    field.stretched[static_cast<std::size_t>(value)] = static_cast<std::uint8_t>((value * 255 + most / 2) / most);
  const int byte = lowest / 8, size = static_cast<int>(bytes_);
  if (mask == 0xFFU << (8 * byte) && byte < size)
    field.whole_byte = order_ == std::endian::little ? byte : size - 1 - byte;
  return field;
}

namespace {

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

}  // namespace

void PackedPixels::put(const std::uint8_t* row, std::size_t pixels, ImageDraft& draft, std::size_t at) const noexcept {
  if (whole_pixel_) {
    std::uint8_t* planes[3];
    for (std::size_t c = 0; c < 3; ++c) planes[fields_[c].whole_byte] = draft.plane<std::uint8_t>(c) + at;
    return split_three(row, pixels, planes[0], planes[1], planes[2]);
  }
  for (std::size_t c = 0; c < fields_.size(); ++c) {
    const Field& field = fields_[c];
    std::uint8_t* plane = draft.plane<std::uint8_t>(c) + at;
    if (field.whole_byte >= 0 && bytes_ == 4) {
      split_channel(row + field.whole_byte, 4, pixels, plane);
      continue;
    }
    with_pixel_reader(bytes_, order_, [&](auto read) {
      for (std::size_t i = 0; i < pixels; ++i)
        plane[i] = field.stretched[(read(row + i * bytes_) & field.mask) >> field.shift];
    });
  }
}

}  // namespace HalconCpp::detail
