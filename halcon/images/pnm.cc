// The PNM family after pbm(5), pgm(5), ppm(5) and pam(5) of Netpbm. P1, P2 and P3 hold bits, gray and color as decimal
// text, P4, P5 and P6 as bytes, after width, height and maxval (not for bits). P7 (PAM) has lines WIDTH, HEIGHT, DEPTH,
// MAXVAL, TUPLTYPE and ENDHDR, and any number of channels as bytes. Samples are scaled from 0..maxval to the pixel
// type.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
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

// Reads the text of a file.
class Scanner {
 public:
  Scanner(Bytes file, std::size_t at) : file_(file), at_(at) {}

  // A comment reads as one line end.
  char next() {
    if (at_ == file_.size()) fail("the file ends too early");
    const char c = static_cast<char>(file_[at_++]);
    return c == '#' ? skip_comment() : c;
  }
  char next_visible() {
    char c = next();
    while (is_space(c)) c = next();
    return c;
  }
  // A number, which one white-space character or the end of the file ends.
  std::uint32_t number() {
    char c = next_visible();
    std::uint32_t value = 0;
    while (c >= '0' && c <= '9') {
      value = value * 10 + static_cast<std::uint32_t>(c - '0');
      if (value > max_number) fail("a number is larger than " + std::to_string(max_number));
      if (at_ == file_.size()) return value;
      c = next();
    }
    if (!is_space(c)) fail("expected a number, found " + quoted({&c, 1}));
    return value;
  }
  // Up to the next white space, which is skipped as well.
  std::string word() {
    std::string word;
    for (char c = next_visible(); !is_space(c); c = next()) word += c;
    return word;
  }
  Bytes rest() const noexcept { return file_.subspan(at_); }
  static bool is_space(char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }

 private:
  static constexpr std::uint32_t max_number = 99'999'999;  // one more digit still fits into 32 bits

  char skip_comment() noexcept {
    while (at_ < file_.size()) {
      const char c = static_cast<char>(file_[at_++]);
      if (c == '\n' || c == '\r') break;
    }
    return '\n';
  }

  Bytes file_;
  std::size_t at_;
};

struct Header {
  bool plain, bits;
  std::uint32_t width, height, channels;
  std::uint32_t maximum;  // 1..65535

  std::size_t row_samples() const noexcept { return std::size_t{width} * channels; }
  PixelType type() const noexcept { return maximum > 255 ? PixelType::UInt2 : PixelType::Byte; }
};

void read_named(Scanner& text, Header& header) {
  static constexpr std::pair<std::string_view, std::uint32_t Header::*> fields[] = {{"WIDTH", &Header::width},
                                                                                    {"HEIGHT", &Header::height},
                                                                                    {"DEPTH", &Header::channels},
                                                                                    {"MAXVAL", &Header::maximum}};
  for (std::string name = text.word(); name != "ENDHDR"; name = text.word()) {
    const auto* field = std::find_if(std::begin(fields), std::end(fields), [&](auto& f) { return f.first == name; });
    if (field != std::end(fields))
      header.*field->second = text.number();
    else if (name == "TUPLTYPE")
      text.word();
    else
      fail("the header holds the unknown line " + quoted(name));
  }
}

void read_numbers(Scanner& text, int kind, Header& header) {
  header.plain = kind <= 3;
  header.bits = kind == 1 || kind == 4;
  header.channels = kind == 3 || kind == 6 ? 3 : 1;
  header.width = text.number();
  header.height = text.number();
  header.maximum = header.bits ? 1 : text.number();
}

Header read_header(Scanner& text) {
  const int kind = text.next_visible() - '0';
  Header header{};
  if (kind == 7)
    read_named(text, header);
  else
    read_numbers(text, kind, header);
  if (header.maximum == 0 || header.maximum > 65535)
    fail("the largest sample is " + std::to_string(header.maximum) + "; 1 to 65535 are read");
  return header;
}

// How many bytes the raster has: at least (text) or exactly.
std::uint64_t raster_bytes(const Header& header) {
  const std::uint64_t rows = header.height, samples = header.row_samples() * rows;
  if (header.plain) return header.bits ? samples : 2 * samples - 1;
  return header.bits ? (header.width + 7) / 8 * rows : samples * pixel_size(header.type());
}

void check_sample(std::uint32_t sample, const Header& header) {
  if (sample > header.maximum)
    fail("a sample of " + std::to_string(sample) + " is above the largest, " + std::to_string(header.maximum));
}

template <class T>
void read_text_row(Scanner& text, const Header& header, T* row) {
  for (std::size_t i = 0; i < header.row_samples(); ++i) {
    const std::uint32_t sample = text.number();
    check_sample(sample, header);
    row[i] = static_cast<T>(sample);
  }
}

// Samples of 16 bits are big-endian.
template <class T>
void load_row(const std::byte* raw, std::size_t count, T* row) {
  if constexpr (sizeof(T) == 1) {
    std::memcpy(row, raw, count);
  } else {
    for (std::size_t i = 0; i < count; ++i)
      row[i] = static_cast<T>(static_cast<T>(raw[2 * i]) << 8 | static_cast<T>(raw[2 * i + 1]));
  }
}

// Scales samples of 0..maximum to the full range of T.
template <class T>
void stretch(const Header& header, T* row) {
  constexpr std::uint32_t full = static_cast<T>(~T{});
  if (header.maximum == full) return;
  for (std::size_t i = 0; i < header.row_samples(); ++i) {
    check_sample(row[i], header);
    row[i] = static_cast<T>((row[i] * full + header.maximum / 2) / header.maximum);
  }
}

template <class T>
void read_rows(Scanner& text, const Header& header, ImageDraft& draft) {
  const std::size_t count = header.row_samples();
  const Bytes raster = text.rest();
  Buffer<T> row(count);
  for (std::size_t y = 0; y < header.height; ++y) {
    if (header.plain)
      read_text_row(text, header, row.data());
    else
      load_row(raster.data() + y * count * sizeof(T), count, row.data());
    stretch(header, row.data());
    split_pixels(row.data(), header.width, draft, y * header.width);
  }
}

// 1 is black. Text needs no white space between bits.
void read_text_bits(Scanner& text, const Header& header, std::uint8_t* to) {
  const std::size_t count = header.row_samples() * header.height;
  for (std::size_t i = 0; i < count; ++i) {
    const char c = text.next_visible();
    if (c != '0' && c != '1') fail("expected a bit, found " + quoted({&c, 1}));
    to[i] = c == '0' ? 255 : 0;
  }
}

ImageRef read_raw_bits(const Header& header, Bytes rows) {
  Raster raster;
  raster.width = header.width;
  raster.height = header.height;
  raster.bits = 1;
  raster.row_bytes = (header.width + 7) / 8;
  raster.palette.set(0, 255, 255, 255);
  return read_raster(raster, rows);
}

Buffer<std::byte> with_header(std::string_view kind, const Image& image, std::string_view maximum,
                              std::size_t raster_size) {
  const std::string header = std::string(kind) + '\n' + std::to_string(image.width) + ' ' +
                             std::to_string(image.height) + '\n' + std::string(maximum);
  Buffer<std::byte> file(header.size() + raster_size);
  std::memcpy(file.data(), header.data(), header.size());
  return file;
}

// Rejects an image whose number of channels is neither `a` nor `b`; `holds` as reject_to_write takes it.
Buffer<std::byte> write_samples(const Image& image, std::size_t a, std::size_t b, const char* holds) {
  const std::size_t channels = image.channels.size(), samples = image.pixels() * channels;
  const bool wide = image.type == PixelType::UInt2;
  if (!(wide || image.type == PixelType::Byte) || (channels != a && channels != b)) reject_to_write(image, holds);
  const std::size_t raster_size = samples * pixel_size(image.type);
  Buffer<std::byte> file = with_header(channels == 1 ? "P5" : "P6", image, wide ? "65535\n" : "255\n", raster_size);
  auto* to = reinterpret_cast<std::uint8_t*>(file.end()) - raster_size;
  if (!wide) {
    join_pixels(image, 0, image.pixels(), to);
    return file;
  }
  const auto width = static_cast<std::size_t>(image.width);
  Buffer<std::uint16_t> row(width * channels);
  for (std::size_t at = 0; at < image.pixels(); at += width) {
    join_pixels(image, at, width, row.data());
    for (const std::uint16_t sample : row) {
      *to++ = static_cast<std::uint8_t>(sample >> 8);
      *to++ = static_cast<std::uint8_t>(sample);
    }
  }
  return file;
}

ImageRef read_one(Scanner& text, const Header& header) {
  if (header.bits && !header.plain) return read_raw_bits(header, text.rest());
  ImageDraft draft(header.type(), static_cast<std::int32_t>(header.width), static_cast<std::int32_t>(header.height),
                   header.channels);
  if (header.bits)
    read_text_bits(text, header, draft.plane<std::uint8_t>(0));
  else if (header.type() == PixelType::Byte)
    read_rows<std::uint8_t>(text, header, draft);
  else
    read_rows<std::uint16_t>(text, header, draft);
  return draft.finish();
}

}  // namespace

bool is_pnm(Bytes file) {
  if (file.size() < 3 || !starts_with(file, "P")) return false;
  const char kind = static_cast<char>(file[1]), next = static_cast<char>(file[2]);
  return kind >= '1' && kind <= '7' && (Scanner::is_space(next) || next == '#');
}

// Raw images may follow one another, with at most white space between them. Anything else after an image is ignored.
Images read_pnm(Bytes file) {
  ImageBudget budget(file.size());
  Images images;
  while (true) {
    Scanner text(file, 1);
    const Header header = read_header(text);
    budget.charge(header.width, header.height, header.channels, header.type());
    if (text.rest().size() < raster_bytes(header)) fail("the file ends too early");
    images.push_back(read_one(text, header));
    if (header.plain) return images;
    file = text.rest().subspan(static_cast<std::size_t>(raster_bytes(header)));
    while (!file.empty() && Scanner::is_space(static_cast<char>(file[0]))) file = file.subspan(1);
    if (!is_pnm(file)) return images;
  }
}

Buffer<std::byte> write_pnm(const Image& image) {
  return write_samples(image, 1, 3, "PNM holds byte and uint2 images of 1 or 3 channels");
}

Buffer<std::byte> write_pgm(const Image& image) {
  return write_samples(image, 1, 1, "PGM holds byte and uint2 images of 1 channel");
}

Buffer<std::byte> write_ppm(const Image& image) {
  return write_samples(image, 3, 3, "PPM holds byte and uint2 images of 3 channels");
}

Buffer<std::byte> write_pbm(const Image& image) {
  if (image.type != PixelType::Byte || image.channels.size() != 1)
    reject_to_write(image, "PBM holds byte images of 1 channel");
  const auto width = static_cast<std::size_t>(image.width), row_bytes = (width + 7) / 8;
  const std::size_t raster_size = row_bytes * static_cast<std::size_t>(image.height);
  Buffer<std::byte> file = with_header("P4", image, "", raster_size);
  std::memset(file.end() - raster_size, 0, raster_size);
  auto* row = reinterpret_cast<std::uint8_t*>(file.end()) - raster_size;
  const auto* pixel = image.plane<std::uint8_t>(0);
  for (std::int32_t y = 0; y < image.height; ++y, row += row_bytes, pixel += width)
    for (std::size_t x = 0; x < width; ++x) {
      if (pixel[x] != 0 && pixel[x] != 255) fail("PBM holds pixels of 0 and 255 only, not " + std::to_string(pixel[x]));
      if (pixel[x] == 0) row[x / 8] |= static_cast<std::uint8_t>(0x80 >> x % 8);
    }
  return file;
}

}  // namespace HalconCpp::detail
