// GIF: the first picture, on the background of the logical screen.
#include <algorithm>
#include <string>

#include "core/failure.h"
#include "images/formats.h"
#include "images/raster.h"

namespace HalconCpp::detail {

namespace {

struct Frame {
  std::uint32_t left, top, width, height;
  bool interlaced;
};

struct Gif {
  std::uint32_t width = 0, height = 0;  // of the logical screen
  std::array<std::uint8_t, 3> background{};
  Palette palette;
  Frame frame{};
  std::size_t codes_at = 0;  // the code size and the sub-blocks of codes
};

constexpr unsigned extension_mark = 0x21, frame_mark = 0x2C, end_mark = 0x3B;
constexpr unsigned graphic_control = 0xF9, plain_text = 0x01;

// Both descriptors keep the size of their colour table in the low bits of their flags.
bool has_table(unsigned flags) { return flags & 0x80; }
std::size_t table_colors(unsigned flags) { return std::size_t{2} << (flags & 7); }

Palette read_palette(const Fields& fields, std::size_t at, std::size_t colors) {
  const std::uint8_t* rgb = octets(fields.part(at, 3 * colors));
  Palette palette;
  for (std::size_t i = 0; i < colors; ++i) palette.set(i, rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]);
  return palette;
}

// Where the sub-blocks that start at `at` end.
std::size_t skip_blocks(const Fields& fields, std::size_t at) {
  while (const std::uint32_t size = fields.u8(at)) at += 1 + size;
  return at + 1;
}

// The index that is transparent in the next picture, or -1.
int transparent_index(const Fields& fields, std::size_t at) {
  if (fields.u8(at) < 4 || !(fields.u8(at + 1) & 1)) return -1;
  return static_cast<int>(fields.u8(at + 4));
}

// Passes the extensions up to the first picture and reads its descriptor.
void read_frame(const Fields& fields, std::size_t at, bool global_table, Gif& gif) {
  int transparent = -1;
  for (unsigned mark; (mark = fields.u8(at)) != frame_mark;) {
    if (mark == end_mark) refuse("holds no picture");
    if (mark != extension_mark) refuse("a block of the unknown kind " + std::to_string(mark) + ": the file is damaged");
    const unsigned label = fields.u8(at + 1);
    if (label == graphic_control) transparent = transparent_index(fields, at + 2);
    if (label == plain_text) transparent = -1;  // what a graphic control describes is the next picture or text
    at = skip_blocks(fields, at + 2);
  }
  gif.frame = {fields.u16(at + 1), fields.u16(at + 3), fields.u16(at + 5), fields.u16(at + 7), false};
  const unsigned flags = fields.u8(at + 9);
  gif.frame.interlaced = flags & 0x40;
  gif.codes_at = at + 10;
  if (has_table(flags)) {
    gif.palette = read_palette(fields, gif.codes_at, table_colors(flags));
    gif.codes_at += 3 * table_colors(flags);
  } else if (!global_table) {
    refuse("holds no colours for its first picture");
  }
  if (transparent >= 0) gif.palette.set_transparent(static_cast<std::size_t>(transparent));
}

Gif read_structure(const Fields& fields) {
  Gif gif;
  gif.width = fields.u16(6);
  gif.height = fields.u16(8);
  const unsigned flags = fields.u8(10);
  std::size_t at = 13;
  if (has_table(flags)) {
    gif.palette = read_palette(fields, at, table_colors(flags));
    at += 3 * table_colors(flags);
    for (std::size_t c = 0; c < 3; ++c) gif.background[c] = gif.palette.value(c, fields.u8(11));
  }
  read_frame(fields, at, has_table(flags), gif);
  return gif;
}

// The sub-blocks at `at` in one piece, as far as the file reaches.
Buffer<std::uint8_t> join_blocks(Bytes file, std::size_t at) {
  Buffer<std::uint8_t> joined;
  joined.reserve(file.size() - std::min(at, file.size()));
  while (at < file.size() && file[at] != std::byte{0}) {
    const std::size_t size = std::min(static_cast<std::size_t>(file[at]), file.size() - at - 1);
    joined.append(octets(file.subspan(at + 1)), size);
    at += 1 + size;
  }
  return joined;
}

// The variable-length codes of GIF. What a code stands for was written before: it is kept as a place in the output.
class Unpacker {
 public:
  Unpacker(Bytes file, std::size_t at, unsigned bits)
      : codes_(join_blocks(file, at)), clear_(1U << bits), bits_(bits) {}

  Buffer<std::uint8_t> unpack(std::size_t pixels) {
    output_ = Buffer<std::uint8_t>(pixels);
    forget();
    while (written_ < pixels) {
      const unsigned code = next_code();
      if (code == clear_)
        forget();
      else if (code == clear_ + 1)
        refuse("its first picture ends too early");
      else
        write(code);
    }
    return std::move(output_);
  }

 private:
  static constexpr unsigned most_codes = 4096;
  struct Place {
    std::size_t start, size;
  };

  void forget() {
    next_ = clear_ + 2;
    width_ = bits_ + 1;
    last_.size = 0;
  }

  unsigned next_code() {
    while (pending_bits_ < width_) {
      if (at_ == codes_.size()) refuse("the file ends too early");
      pending_ |= std::uint32_t{codes_[at_++]} << pending_bits_;
      pending_bits_ += 8;
    }
    const unsigned code = pending_ & ((1U << width_) - 1);
    pending_ >>= width_;
    pending_bits_ -= width_;
    return code;
  }

  // A new code is the last string and the pixel after it, which is the first one of this string.
  void write(unsigned code) {
    const bool learns = last_.size > 0 && next_ < most_codes;
    if (learns) places_[next_++] = {last_.start, last_.size + 1};
    if (code >= next_) refuse("a code that stands for nothing: the file is damaged");
    std::uint8_t* to = output_.data() + written_;
    last_ = {written_, 1};
    if (code < clear_) {
      if (code > 255) refuse("a colour beyond its palette: the file is damaged");
      *to = static_cast<std::uint8_t>(code);
    } else {
      // Forward byte by byte: the string of a code just learnt overlaps its own copy.
      const std::uint8_t* from = output_.data() + places_[code].start;
      last_.size = std::min(places_[code].size, output_.size() - written_);
      for (std::size_t i = 0; i < last_.size; ++i) to[i] = from[i];
    }
    written_ += last_.size;
    if (next_ == 1U << width_ && width_ < 12) ++width_;
  }

  Buffer<std::uint8_t> codes_, output_;
  unsigned clear_, bits_, next_ = 0, width_ = 0;
  std::size_t at_ = 0, written_ = 0;
  std::uint32_t pending_ = 0;
  unsigned pending_bits_ = 0;
  Place last_{};
  std::array<Place, most_codes> places_;
};

// Calls `put` with the rows of the picture in the order in which the file holds them.
template <class Put>
void each_row(const Frame& frame, Put&& put) {
  static constexpr struct { std::uint32_t first, step; } whole[] = {{0, 1}}, woven[] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
  std::size_t stored = 0;
  for (const auto& pass : frame.interlaced ? std::span(woven, 4) : std::span(whole, 1))
    for (std::uint32_t y = pass.first; y < frame.height; y += pass.step) put(stored++, y);
}

// Lays the picture on the background; what reaches beyond the screen is cut off.
ImageRef compose(const Gif& gif, const Buffer<std::uint8_t>& indices, std::size_t channels) {
  const Frame& frame = gif.frame;
  const std::size_t width = gif.width;
  ImageDraft draft(PixelType::Byte, static_cast<std::int32_t>(gif.width), static_cast<std::int32_t>(gif.height),
                   channels);
  const bool covers = frame.left == 0 && frame.top == 0 && frame.width >= gif.width && frame.height >= gif.height;
  for (std::size_t c = 0; !covers && c < channels; ++c)
    std::memset(draft.plane<std::uint8_t>(c), c < 3 ? gif.background[c] : 0, width * gif.height);
  const std::uint32_t visible = frame.left < gif.width ? std::min(frame.width, gif.width - frame.left) : 0;
  each_row(frame, [&](std::size_t stored, std::uint32_t y) {
    if (frame.top + y < gif.height)
      gif.palette.put(indices.data() + stored * frame.width, visible, draft, (frame.top + y) * width + frame.left);
  });
  return draft.finish();
}

}  // namespace

ImageRef read_gif(Bytes file) {
  const Fields fields(file, std::endian::little);
  const Gif gif = read_structure(fields);
  const bool gray_background = gif.background[0] == gif.background[1] && gif.background[1] == gif.background[2];
  const std::size_t channels =
      gray_background ? gif.palette.channels() : std::max<std::size_t>(3, gif.palette.channels());
  check_image_size(gif.width, gif.height, channels, PixelType::Byte, file.size());
  check_image_size(gif.frame.width, gif.frame.height, 1, PixelType::Byte, file.size());
  const unsigned bits = fields.u8(gif.codes_at);
  if (bits < 1 || bits > 11) refuse("codes of " + std::to_string(bits) + " bits are not known");
  return compose(gif, Unpacker(file, gif.codes_at + 1, bits).unpack(std::size_t{gif.frame.width} * gif.frame.height),
                 channels);
}

}  // namespace HalconCpp::detail
