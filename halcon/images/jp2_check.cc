// JP2 boxes after ITU-T T.800 Annex I, the codestream after its Annex A.
#include "images/jp2_check.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <span>
#include <string>
#include <vector>

#include "core/failure.h"
#include "core/limits.h"
#include "iconic/image.h"
#include "iconic/plane.h"
#include "images/raster.h"

namespace HalconCpp::detail {

namespace {

constexpr std::uint32_t box_type(const char (&name)[5]) {
  std::uint32_t value = 0;
  for (int i = 0; i < 4; ++i) value = value << 8 | static_cast<unsigned char>(name[i]);
  return value;
}

struct Box {
  std::uint32_t type;
  Bytes content;
};

Box next_box(ByteStream& cursor) {
  std::uint64_t length = cursor.number(4), header = 8;
  const std::uint32_t type = cursor.number(4);
  if (length == 1) {
    length = std::uint64_t{cursor.number(4)} << 32;
    length |= cursor.number(4);
    header = 16;
  }
  if (length == 0) length = header + cursor.left();
  if (length < header) fail("a box of " + std::to_string(length) + " bytes is too short for itself");
  return {type, cursor.take(length - header)};
}

std::uint64_t ceil_divided(std::uint64_t value, std::uint64_t by) { return (value + by - 1) / by; }
std::uint64_t ceil_shifted(std::uint64_t value, unsigned bits) {
  return bits > 40 ? 1 : (value + (std::uint64_t{1} << bits) - 1) >> bits;
}

enum Marker : std::uint32_t {
  SOC = 0xff4f,
  SIZ = 0xff51,
  COD = 0xff52,
  COC = 0xff53,
  SOT = 0xff90,
  SOD = 0xff93,
  EOC = 0xffd9,
};

// Segments of headers that OpenJPEG knows: COD, COC, TLM, PLM, PLT, CPF, QCD, QCC, RGN, POC, PPM, PPT, CRG, COM, CAP,
// and the component transforms of T.801, CBD, MCT, MCC, MCO. After an unknown one it would search for the next of
// these.
constexpr std::uint32_t known_segments[] = {COD,    COC,    0xff55, 0xff57, 0xff58, 0xff59, 0xff5c,
                                            0xff5d, 0xff5e, 0xff5f, 0xff60, 0xff61, 0xff63, 0xff64,
                                            0xff50, 0xff78, 0xff74, 0xff75, 0xff77};

[[noreturn]] void reject_marker(std::uint32_t marker) {
  char name[16];
  std::snprintf(name, sizeof name, "0x%04x", static_cast<unsigned>(marker));
  fail("its codestream holds the marker " + std::string(name) + " where none of that kind can be");
}

// The walk over the markers of a codestream.
class Codestream {
 public:
  Codestream(Bytes bytes, std::uint32_t palette_columns) : bytes_(bytes), palette_columns_(palette_columns) {}

  // The codestream without what follows its end marker, which may be missing.
  Bytes check() {
    ByteStream cursor(bytes_);
    if (cursor.number(2) != SOC || cursor.number(2) != SIZ) fail("its codestream does not begin with the image size");
    read_size(segment(cursor));
    std::uint32_t marker = cursor.number(2);
    for (; marker != SOT; marker = cursor.number(2)) read_segment(marker, segment(cursor));
    while (marker == SOT) {
      read_tile_part(cursor);
      marker = cursor.left() < 2 ? std::uint32_t{EOC} : cursor.number(2);
    }
    if (marker != EOC) reject_marker(marker);
    const auto found = static_cast<std::uint64_t>(std::count(seen_.begin(), seen_.end(), true));
    if (found < tiles_)
      fail(std::to_string(tiles_ - found) + " of its " + std::to_string(tiles_) + " tiles are missing");
    return bytes_.first(bytes_.size() - cursor.left());
  }

  std::uint64_t decoded_bytes() const {
    return width_ * height_ * (components_ + palette_columns_) * sizeof(std::int32_t);
  }

 private:
  static ByteStream segment(ByteStream& cursor) {
    const std::uint32_t length = cursor.number(2);
    if (length < 2) fail("a marker segment of " + std::to_string(length) + " bytes is too short for itself");
    return ByteStream(cursor.take(length - 2));
  }

  void read_size(ByteStream size) {
    size.number(2);
    const std::uint32_t right = size.number(4), bottom = size.number(4), left = size.number(4), top = size.number(4);
    const std::uint32_t tile_width = size.number(4), tile_height = size.number(4);
    const std::uint32_t tile_left = size.number(4), tile_top = size.number(4);
    components_ = size.number(2);
    width_ = right - std::min(left, right);
    height_ = bottom - std::min(top, bottom);
    // OpenJPEG holds every sample in 32 bits.
    check_image_size(width_, height_, std::max(components_, palette_columns_), PixelType::Int4, bytes_.size());
    if (tile_width == 0 || tile_height == 0 || tile_left >= right || tile_top >= bottom) fail("its tiles have no size");
    tiles_ = ceil_divided(right - tile_left, tile_width) * ceil_divided(bottom - tile_top, tile_height);
    // A tile takes a header of 14 bytes and a byte for each component at least.
    constexpr std::uint64_t tile_header = 14;
    if (tiles_ > bytes_.size() / std::max<std::uint64_t>(tile_header, components_))
      fail("declares " + std::to_string(tiles_) + " tiles, more than " + std::to_string(bytes_.size()) +
           " bytes can hold");
    // About what OpenJPEG keeps for a tile and for each of its components before it decodes the first one.
    constexpr std::uint64_t tile_cost = 6000, component_cost = 1200;
    const std::uint64_t tile_bytes = tiles_ * (tile_cost + component_cost * components_);
    if (tile_bytes > limits::decoded_free && tile_bytes / limits::tables_per_byte > bytes_.size())
      fail("declares " + std::to_string(tiles_) + " tiles, too many for " + std::to_string(bytes_.size()) + " bytes");
    seen_.resize(static_cast<std::size_t>(tiles_));
  }

  void read_segment(std::uint32_t marker, ByteStream content) {
    if (std::find(std::begin(known_segments), std::end(known_segments), marker) == std::end(known_segments))
      reject_marker(marker);
    if (marker == COD) {
      const std::uint32_t style = content.number(1);
      content.number(1);
      layers_ = std::max(layers_, content.number(2));
      content.number(1);
      read_coding(style, content);
    } else if (marker == COC) {
      content.number(components_ < 257 ? 1 : 2);
      const std::uint32_t style = content.number(1);
      read_coding(style, content);
    }
  }

  // The code-blocks and packets that the image has when all of it is coded in this style.
  void read_coding(std::uint32_t style, ByteStream content) {
    const std::uint32_t levels = content.number(1);
    const unsigned block_width = content.number(1) + 2, block_height = content.number(1) + 2;
    content.number(2);
    if (levels > 32) fail("declares " + std::to_string(levels) + " levels of decomposition; 32 are possible");
    std::uint64_t packets = 0, blocks = 0;
    for (std::uint32_t r = 0; r <= levels; ++r) {
      const std::uint32_t precinct = style & 1 ? content.number(1) : 0xff;
      const unsigned halved = r > 0, precinct_width = precinct & 15, precinct_height = precinct >> 4;
      const std::uint64_t width = ceil_shifted(width_, levels - r), height = ceil_shifted(height_, levels - r);
      packets += ceil_shifted(width, precinct_width) * ceil_shifted(height, precinct_height);
      const unsigned across = std::min(block_width, precinct_width - std::min(precinct_width, halved));
      const unsigned down = std::min(block_height, precinct_height - std::min(precinct_height, halved));
      blocks += (halved ? 3 : 1) * ceil_shifted(ceil_shifted(width, halved), across) *
                ceil_shifted(ceil_shifted(height, halved), down);
    }
    check_costs(packets * components_, blocks * components_);
  }

  // A packet is a byte at least; a code-block takes about `block_cost` bytes in OpenJPEG.
  void check_costs(std::uint64_t packets, std::uint64_t blocks) const {
    constexpr std::uint64_t block_cost = 800;
    if (packets > bytes_.size() / std::max<std::uint32_t>(layers_, 1))
      fail("declares " + std::to_string(packets) + " packets in each of " + std::to_string(layers_) +
           " layers, more than " + std::to_string(bytes_.size()) + " bytes can hold");
    if (blocks > limits::decoded_free / block_cost && blocks > bytes_.size() * (limits::decoded_per_byte / block_cost))
      fail("declares " + std::to_string(blocks) + " code-blocks, too many for " + std::to_string(bytes_.size()) +
           " bytes");
  }

  // `cursor` is just after the marker. The length of the part includes the marker; 0 means up to the end.
  void read_tile_part(ByteStream& cursor) {
    const std::size_t available = cursor.left() + 2;
    ByteStream header = segment(cursor);
    const std::uint32_t tile = header.number(2), length = header.number(4);
    if (tile >= tiles_) fail("tile " + std::to_string(tile) + " is not one of " + std::to_string(tiles_));
    seen_[tile] = true;
    const std::size_t used = available - cursor.left();
    if (length != 0 && length < used)
      fail("a tile part of " + std::to_string(length) + " bytes is too short for itself");
    ByteStream part(cursor.take(length == 0 ? cursor.left() : length - used));
    if (part.left() == 0) return;
    for (std::uint32_t marker = part.number(2); marker != SOD; marker = part.number(2))
      read_segment(marker, segment(part));
  }

  Bytes bytes_;
  std::uint32_t palette_columns_;
  std::uint32_t components_ = 0, layers_ = 0;
  std::uint64_t width_ = 0, height_ = 0, tiles_ = 0;
  std::vector<bool> seen_;
};

// A palette: the number of its channels, and whether all entries are gray.
struct Columns {
  std::uint32_t channels = 0;
  bool gray = false;
};

Columns read_palette(ByteStream cursor) {
  const std::uint32_t entries = cursor.number(2), channels = cursor.number(1);
  Columns palette{channels, channels == 3};
  for (std::uint32_t c = 0; c < channels; ++c) palette.gray = cursor.number(1) == 7 && palette.gray;
  for (std::uint32_t i = 0; palette.gray && i < entries; ++i) {
    const std::uint32_t red = cursor.number(1), green = cursor.number(1), blue = cursor.number(1);
    palette.gray = red == green && red == blue;
  }
  return palette;
}

void append_box(Buffer<std::byte>& file, std::uint32_t type, std::size_t content) {
  append_number(file, static_cast<std::uint32_t>(content + 8), 4, std::endian::big);
  append_number(file, type, 4, std::endian::big);
}

void append(Buffer<std::byte>& file, Bytes bytes) { file.append(bytes.data(), bytes.size()); }

// The boxes of a JP2 Header that say what the samples mean. Each comes once.
constexpr std::uint32_t header_boxes[] = {box_type("ihdr"), box_type("bpcc"), box_type("colr"),
                                          box_type("pclr"), box_type("cmap"), box_type("cdef")};

struct Header {
  Bytes boxes[std::size(header_boxes)];  // their contents; empty: not there

  explicit Header(Bytes content) {
    for (ByteStream inner(content); inner.left() > 0;) {
      const Box box = next_box(inner);
      const auto* known = std::find(std::begin(header_boxes), std::end(header_boxes), box.type);
      if (known == std::end(header_boxes)) continue;
      if (Bytes& kept = boxes[known - header_boxes]; kept.empty()) kept = box.content;
    }
  }
  Columns palette() const { return boxes[3].empty() ? Columns{} : read_palette(ByteStream(boxes[3])); }
};

// A JP2 file of these boxes up to the codestream, whose box reaches to the end of the file (length 0).
Buffer<std::byte> make_boxes(const Header& header) {
  static constexpr std::byte signature[] = {std::byte{13}, std::byte{10}, std::byte{0x87}, std::byte{10}};
  static constexpr std::byte file_type[] = {std::byte{'j'}, std::byte{'p'}, std::byte{'2'}, std::byte{' '},
                                            std::byte{0},   std::byte{0},   std::byte{0},   std::byte{0},
                                            std::byte{'j'}, std::byte{'p'}, std::byte{'2'}, std::byte{' '}};
  Buffer<std::byte> inner, file;
  for (std::size_t i = 0; i < std::size(header_boxes); ++i) {
    if (header.boxes[i].empty()) continue;
    append_box(inner, header_boxes[i], header.boxes[i].size());
    append(inner, header.boxes[i]);
  }
  append_box(file, box_type("jP  "), sizeof signature);
  append(file, signature);
  append_box(file, box_type("ftyp"), sizeof file_type);
  append(file, file_type);
  append_box(file, box_type("jp2h"), inner.size());
  append(file, inner);
  append_box(file, box_type("jp2c"), std::size_t{0} - 8);
  return file;
}

}  // namespace

CheckedJp2 check_jp2(Bytes file) {
  if (starts_with(file, "\xff\x4f")) {
    Codestream codestream(file, 0);
    const Bytes checked = codestream.check();
    return {{}, checked, codestream.decoded_bytes(), false};
  }
  ByteStream cursor(file);
  Bytes header_content;
  Box box = next_box(cursor);
  for (; box.type != box_type("jp2c"); box = next_box(cursor))
    if (box.type == box_type("jp2h") && header_content.empty()) header_content = box.content;
  const Header header(header_content);
  const Columns palette = header.palette();
  Codestream codestream(box.content, palette.channels);
  const Bytes checked = codestream.check();
  return {make_boxes(header), checked, codestream.decoded_bytes(), palette.gray};
}

}  // namespace HalconCpp::detail
