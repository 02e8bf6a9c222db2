// TIFF after "TIFF Revision 6.0" (Adobe, 1992) with its supplements, read with libtiff: every page as stored, whatever
// its layout. Pages that repeat another one in a smaller size, and masks, are left out (NewSubfileType).
#include <tiffio.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "core/buffer.h"
#include "core/failure.h"
#include "core/limits.h"
#include "iconic/image.h"
#include "iconic/plane.h"
#include "images/codec.h"
#include "images/colors.h"
#include "images/file_ranges.h"
#include "images/formats.h"
#include "images/memory_file.h"
#include "images/pixels.h"
#include "images/raster.h"
#include "images/tiff_directories.h"
#include "images/tiff_file.h"
#include "images/tiff_samples.h"

namespace HalconCpp::detail {

namespace {

// The tags that decide how the page is read.
struct Page {
  std::uint32_t width = 0, height = 0;
  std::uint16_t bits = 1, channels = 1, sample_format = SAMPLEFORMAT_UINT, photometric = PHOTOMETRIC_MINISBLACK;
  std::uint16_t compression = COMPRESSION_NONE, fill_order = FILLORDER_MSB2LSB, ink_set = INKSET_CMYK, extra = 0;
  bool separate = false, tiled = false;
  std::uint32_t part_width = 0, part_height = 0;  // of a tile, or of a strip but the last

  bool palette() const { return photometric == PHOTOMETRIC_PALETTE; }
  bool lab() const { return photometric == PHOTOMETRIC_CIELAB || photometric == PHOTOMETRIC_ICCLAB; }
  bool cmyk() const { return photometric == PHOTOMETRIC_SEPARATED && ink_set == INKSET_CMYK && channels >= 4; }
  std::uint16_t part_channels() const { return separate ? 1 : channels; }
};

Page read_page(TIFF* tiff) {
  Page page;
  std::uint16_t planar = PLANARCONFIG_CONTIG;
  std::uint16_t* kinds = nullptr;
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &page.width);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &page.height);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &page.bits);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &page.channels);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &page.sample_format);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &page.extra, &kinds);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_INKSET, &page.ink_set);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_FILLORDER, &page.fill_order);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planar);
  TIFFGetField(tiff, TIFFTAG_COMPRESSION, &page.compression);
  TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &page.photometric);
  page.separate = planar == PLANARCONFIG_SEPARATE && page.channels > 1;
  page.tiled = TIFFIsTiled(tiff);
  if (page.tiled) {
    TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &page.part_width);
    TIFFGetField(tiff, TIFFTAG_TILELENGTH, &page.part_height);
  } else {
    TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &page.part_height);
    page.part_width = page.width;
    page.part_height = std::min(page.part_height, page.height);
  }
  return page;
}

// Rejects meanings of samples that the pixels of an image cannot have.
void reject_strange_colors(const Page& page) {
  const char* name = page.photometric == PHOTOMETRIC_LOGL     ? "SGI LogL"
                     : page.photometric == PHOTOMETRIC_LOGLUV ? "SGI LogLuv"
                     : page.photometric == PHOTOMETRIC_ITULAB ? "ITU L*a*b*"
                                                              : nullptr;
  if (name) fail(std::string(name) + " colors are not read");
  const bool plain = page.sample_format == SAMPLEFORMAT_UINT || page.sample_format == SAMPLEFORMAT_VOID;
  if (page.palette() && (page.bits > 8 || !plain))
    fail("a palette with " + std::to_string(page.bits) + "-bit indices is not read; 8 bits at most");
  if (page.cmyk() && (page.bits > 16 || !plain)) fail("CMYK colors are read with up to 16 unsigned bits");
  if (page.lab() && ((page.bits != 8 && page.bits != 16) || page.channels < 3 || page.sample_format > SAMPLEFORMAT_INT))
    fail("L*a*b* colors are read with three channels of 8 or 16 bits");
}

// What the pages of a file have in common.
struct TiffSource {
  explicit TiffSource(Bytes bytes) : file(bytes), budget(bytes.size()) { tiff = open_tiff(source, "r", messages); }

  Bytes file;
  MemoryFile source{file};
  TiffMessages messages;
  TiffHandle tiff;
  ImageBudget budget;
  FileRanges stored;          // the strips and tiles of all pages
  std::uint64_t decoded = 0;  // what they decompress to
};

// Reads the page that libtiff is at.
class PageReader {
 public:
  explicit PageReader(TiffSource& source)
      : source_(source),
        messages_(source.messages),
        tiff_(source.tiff.get()),
        page_(read_page(tiff_)),
        file_(source.file) {
    messages_.error = {};  // what is wrong but could be opened anyway
  }

  ImageRef read() {
    if (page_.photometric == PHOTOMETRIC_YCBCR) {
      if (page_.compression != COMPRESSION_JPEG || page_.separate) return read_converted();
      TIFFSetField(tiff_, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    }
    reject_strange_colors(page_);
    samples_ = tiff_samples(page_.lab() ? std::uint16_t{SAMPLEFORMAT_UINT} : page_.sample_format, page_.bits,
                            !page_.palette());
    if (page_.palette()) palette_ = read_palette();
    ImageDraft draft = make_draft(samples_.type, page_.channels + palette_.channels() - 1);
    check_parts();
    with_pixel_type(samples_.type, [&](auto pixel) { read_parts<decltype(pixel)>(draft); });
    finish_colors(draft);
    return draft.finish();
  }

 private:
  std::size_t pixels() const { return std::size_t{page_.width} * page_.height; }

  ImageDraft make_draft(PixelType type, std::size_t channels) {
    source_.budget.charge(page_.width, page_.height, channels, type);
    return ImageDraft(type, static_cast<std::int32_t>(page_.width), static_cast<std::int32_t>(page_.height), channels);
  }

  void check_parts() {
    if (page_.part_width == 0 || page_.part_height == 0) fail("its strips or tiles have no size");
    row_bytes_ = static_cast<std::size_t>(page_.tiled ? TIFFTileRowSize64(tiff_) : TIFFScanlineSize64(tiff_));
    part_bytes_ = page_.tiled ? TIFFTileSize64(tiff_) : TIFFStripSize64(tiff_);
    const std::uint64_t least = (std::uint64_t{page_.part_width} * page_.part_channels() * page_.bits + 7) / 8;
    if (row_bytes_ < least || part_bytes_ / page_.part_height < row_bytes_) fail("its strips or tiles are too large");
    const std::uint64_t planes = page_.separate ? page_.channels : 1;
    const std::uint64_t row = (std::uint64_t{page_.width} * page_.part_channels() * page_.bits + 7) / 8;
    if (page_.compression == COMPRESSION_NONE && row * page_.height * planes > file_.size())
      fail("the file ends too early: " + std::to_string(file_.size()) + " of at least " +
           std::to_string(row * page_.height * planes) + " bytes");
    charge_parts();
  }

  // Checks that all strips or tiles lie in the file, and that its bytes can hold what they decompress to, with padding.
  // Bytes that several of them name are decompressed again for each: what that may cost has a limit of its own.
  void charge_parts() {
    const char* const kind = page_.tiled ? " tiles" : " strips";
    const std::uint32_t parts = page_.tiled ? TIFFNumberOfTiles(tiff_) : TIFFNumberOfStrips(tiff_);
    if (parts > file_.size() / 2)  // each takes at least two bytes of StripOffsets or TileOffsets
      fail("declares " + std::to_string(parts) + kind + ", more than " + std::to_string(file_.size()) +
           " bytes can hold");
    for (std::uint32_t i = 0; i < parts; ++i) source_.stored.add(TIFFGetStrileOffset(tiff_, i), stored_bytes(i).size());
    if (source_.stored.repeated() > limits::decoded_free)
      fail("its" + std::string(kind) + " overlap by more than " + std::to_string(limits::decoded_free) + " bytes");
    const std::uint64_t max = std::max(limits::decoded_free, limits::decoded_per_byte * source_.stored.distinct());
    if (part_bytes_ > max || (source_.decoded += parts * part_bytes_) > max)
      fail("its" + std::string(kind) + " of " + std::to_string(part_bytes_) + " bytes are too large for the file");
  }

  template <class T>
  void read_parts(ImageDraft& draft) {
    const std::size_t planes = page_.separate ? page_.channels : 1;
    row_ = Buffer<std::byte>(std::size_t{std::min(page_.part_width, page_.width)} * page_.part_channels() * sizeof(T));
    for (std::size_t plane = 0; plane < planes; ++plane)
      for (std::size_t y = 0; y < page_.height; y += page_.part_height)
        for (std::size_t x = 0; x < page_.width; x += page_.part_width) read_part<T>(draft, plane, x, y);
  }

  template <class T>
  void read_part(ImageDraft& draft, std::size_t plane, std::size_t x, std::size_t y) {
    const std::size_t rows = std::min<std::size_t>(page_.part_height, page_.height - y);
    const std::size_t columns = std::min<std::size_t>(page_.part_width, page_.width - x);
    const std::uint32_t index = part_index(plane, x, y);
    const std::size_t bytes = page_.tiled ? static_cast<std::size_t>(part_bytes_) : rows * row_bytes_;
    const std::byte* stored = bytes_in_file(index, bytes);
    if (!stored && !page_.tiled && page_.part_channels() == 1 && samples_.native())
      return decode(index, draft.plane<T>(target(plane)) + y * page_.width, bytes);
    if (!stored) {
      if (part_.empty()) part_ = Buffer<std::byte>(static_cast<std::size_t>(part_bytes_));
      decode(index, part_.data(), bytes);
      stored = part_.data();
    }
    const std::size_t step = rows_at_once<T>(stored, columns);
    for (std::size_t r = 0; r < rows; r += step) {
      const std::size_t count = columns * std::min(step, rows - r);
      place(row_samples<T>(stored + r * row_bytes_, count), count, draft, plane, (y + r) * page_.width + x);
    }
  }

  std::uint32_t part_index(std::size_t plane, std::size_t x, std::size_t y) const {
    const auto column = static_cast<std::uint32_t>(x), row = static_cast<std::uint32_t>(y);
    const auto sample = static_cast<std::uint16_t>(plane);
    return page_.tiled ? TIFFComputeTile(tiff_, column, row, 0, sample) : TIFFComputeStrip(tiff_, row, sample);
  }

  // Uncompressed samples in the right order are taken straight from the file.
  const std::byte* bytes_in_file(std::uint32_t index, std::size_t bytes) {
    if (page_.compression != COMPRESSION_NONE || page_.fill_order != FILLORDER_MSB2LSB) return nullptr;
    if (page_.bits > 8 && page_.bits % 8 == 0 && TIFFIsByteSwapped(tiff_)) return nullptr;
    const Bytes stored = stored_bytes(index);
    if (stored.size() < bytes) reject_short(index, stored.size(), bytes);
    return stored.data();
  }

  [[noreturn]] void reject_short(std::uint32_t index, std::uint64_t has, std::uint64_t needs) const {
    fail((page_.tiled ? "tile " : "strip ") + std::to_string(index) + " has " + std::to_string(has) + " of " +
         std::to_string(needs) + " bytes");
  }

  // Where the file says that a strip or tile lies.
  Bytes stored_bytes(std::uint32_t index) const {
    const std::uint64_t begin = TIFFGetStrileOffset(tiff_, index);
    const std::uint64_t bytes = TIFFGetStrileByteCount(tiff_, index);
    const std::uint64_t available = file_.size() - std::min<std::uint64_t>(begin, file_.size());
    if (bytes > available) reject_short(index, available, bytes);
    return file_.subspan(static_cast<std::size_t>(begin), static_cast<std::size_t>(bytes));
  }

  void decode(std::uint32_t index, void* to, std::size_t bytes) {
    stored_bytes(index);
    const auto wanted = static_cast<tmsize_t>(bytes);
    std::memset(to, 0, bytes);  // damaged data may leave bytes unwritten: old memory must not show in the image
    const tmsize_t count =
        page_.tiled ? TIFFReadEncodedTile(tiff_, index, to, wanted) : TIFFReadEncodedStrip(tiff_, index, to, wanted);
    if (count < 0 || messages_.error[0]) reject_tiff(messages_);
    if (count != wanted) reject_short(index, static_cast<std::uint64_t>(count), bytes);
  }

  // Rows that need no conversion and lie without gaps are placed some at a time; a few, to stay in the cache.
  template <class T>
  std::size_t rows_at_once(const std::byte* rows, std::size_t columns) const {
    const bool joined = samples_.native() && columns == page_.width && columns == page_.part_width;
    return joined && aligned<T>(rows) ? std::max<std::size_t>(1, 4096 / columns) : 1;
  }

  template <class T>
  static bool aligned(const std::byte* address) {
    return std::bit_cast<std::uintptr_t>(address) % alignof(T) == 0;
  }

  template <class T>
  const T* row_samples(const std::byte* row, std::size_t columns) {
    T* out = reinterpret_cast<T*>(row_.data());
    const std::size_t samples = columns * page_.part_channels();
    if (samples_.native()) {
      if (aligned<T>(row)) return reinterpret_cast<const T*>(row);
      std::memcpy(out, row, samples * sizeof(T));
    } else {
      samples_.unpack(samples_, row, samples, out);
    }
    return out;
  }

  // The plane of a stored channel: that of an index is the first of its colors.
  std::size_t target(std::size_t channel) const { return channel > 0 ? channel + palette_.channels() - 1 : channel; }

  template <class T>
  void place(const T* samples, std::size_t pixels_of_part, ImageDraft& draft, std::size_t plane, std::size_t at) const {
    const std::size_t channels = page_.part_channels();
    if (channels == 1)
      std::memcpy(draft.plane<T>(target(plane)) + at, samples, pixels_of_part * sizeof(T));
    else if (channels == draft.channels())
      split_pixels(samples, pixels_of_part, draft, at);
    else
      for (std::size_t c = 0; c < channels; ++c)
        split_channel(samples + c, channels, pixels_of_part, draft.plane<T>(target(c)) + at);
  }

  void finish_colors(ImageDraft& draft) {
    if (page_.palette()) {
      apply_palette(draft);
    } else if (page_.photometric == PHOTOMETRIC_MINISWHITE) {
      const std::size_t colors = page_.extra < page_.channels ? page_.channels - page_.extra : page_.channels;
      for (std::size_t c = 0; c < colors; ++c) turn(draft, c);
    } else if (page_.cmyk()) {
      const std::uint32_t max = page_.bits <= 8 ? 255 : (1u << page_.bits) - 1;
      if (page_.bits <= 8)
        cmyk_to_rgb<std::uint8_t>(draft, pixels(), max);
      else
        cmyk_to_rgb<std::uint16_t>(draft, pixels(), max);
    } else if (page_.lab()) {
      if (page_.bits == 8)
        apply_lab<std::uint8_t>(draft, 255.0f, 1.0f);
      else
        apply_lab<std::uint16_t>(draft, page_.photometric == PHOTOMETRIC_CIELAB ? 65535.0f : 65280.0f, 256.0f);
    }
  }

  // Only unsigned samples have a white to count from.
  void turn(ImageDraft& draft, std::size_t channel) {
    if (samples_.type == PixelType::Byte) invert<std::uint8_t>(draft, channel, pixels(), 255);
    if (samples_.type == PixelType::UInt2)
      invert(draft, channel, pixels(), static_cast<std::uint16_t>((1u << page_.bits) - 1));
    if (samples_.type == PixelType::Int8 && page_.bits == 32)
      invert(draft, channel, pixels(), std::int64_t{0xffffffff});
  }

  // a* and b* are signed in CIE L*a*b* and offset by half the range in ICC L*a*b*; `unit` is the step of one.
  template <class T>
  void apply_lab(ImageDraft& draft, float white, float unit) {
    constexpr T half = static_cast<T>(T{1} << (8 * sizeof(T) - 1));
    if (page_.photometric == PHOTOMETRIC_CIELAB)
      for (std::size_t c = 1; c < 3; ++c)
        for (T *sample = draft.plane<T>(c), *end = sample + pixels(); sample != end; ++sample) *sample ^= half;
    const LabCoding coding{{100 / white, 1 / unit, 1 / unit}, {0, -128, -128}};
    lab_to_rgb<T>(draft, pixels(), coding, static_cast<T>(~T{0}));
  }

  Palette read_palette() const {
    std::uint16_t* map[3] = {};
    if (!TIFFGetField(tiff_, TIFFTAG_COLORMAP, &map[0], &map[1], &map[2])) fail("its palette is missing");
    const std::size_t entries = std::size_t{1} << page_.bits;
    const bool short_values = std::all_of(std::begin(map), std::end(map), [&](const std::uint16_t* values) {
      return *std::max_element(values, values + entries) < 256;
    });
    const int shift = short_values ? 0 : 8;  // some writers store 8 bits
    Palette palette;
    for (std::size_t i = 0; i < entries; ++i) {
      const auto value = [&](std::size_t c) { return static_cast<std::uint8_t>(map[c][i] >> shift); };
      palette.set(i, value(0), value(1), value(2));
    }
    return palette;
  }

  void apply_palette(ImageDraft& draft) const {
    const std::uint8_t* index = draft.plane<std::uint8_t>(0);
    for (std::size_t c = palette_.channels(); c-- > 0;) {
      std::uint8_t* plane = draft.plane<std::uint8_t>(c);
      for (std::size_t i = 0; i < pixels(); ++i) plane[i] = palette_.value(c, index[i]);
    }
  }

  // YCbCr in blocks of its own kind and JPEG of the old style: libtiff's converter knows them, to 8-bit RGB.
  ImageRef read_converted() {
    if (messages_.tag_lost) fail("the file ends too early");  // the tag could be one that makes the colors
    std::uint16_t across = 1, down = 1;
    TIFFGetFieldDefaulted(tiff_, TIFFTAG_YCBCRSUBSAMPLING, &across, &down);
    if (page_.separate && across * down != 1) fail("YCbCr colors in planes of different sizes are not read");
    ImageDraft draft = make_draft(PixelType::Byte, 3);
    part_bytes_ = page_.tiled ? TIFFTileSize64(tiff_) : TIFFStripSize64(tiff_);
    charge_parts();
    char reason[1024] = "";
    TIFFRGBAImage converter;
    if (!TIFFRGBAImageBegin(&converter, tiff_, 1, reason)) fail(reason);
    const std::unique_ptr<TIFFRGBAImage, void (*)(TIFFRGBAImage*)> ended(&converter, TIFFRGBAImageEnd);
    converter.req_orientation = converter.orientation;
    Buffer<std::uint32_t> raster(pixels());
    if (!TIFFRGBAImageGet(&converter, raster.data(), page_.width, page_.height) || messages_.error[0])
      reject_tiff(messages_);
    for (std::size_t c = 0; c < 3; ++c) {
      std::uint8_t* plane = draft.plane<std::uint8_t>(c);
      for (std::size_t i = 0; i < pixels(); ++i) plane[i] = static_cast<std::uint8_t>(raster[i] >> (8 * c));
    }
    return draft.finish();
  }

  TiffSource& source_;
  TiffMessages& messages_;
  TIFF* tiff_;
  Page page_;
  Bytes file_;
  TiffSamples samples_;
  Palette palette_;
  std::size_t row_bytes_ = 0;
  std::uint64_t part_bytes_ = 0;
  Buffer<std::byte> part_, row_;
};

bool is_image(TIFF* tiff) {
  std::uint32_t kind = 0;
  TIFFGetField(tiff, TIFFTAG_SUBFILETYPE, &kind);
  return (kind & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK)) == 0;
}

}  // namespace

Images read_tiff(Bytes file) {
  check_tiff_directories(file);
  TiffSource source(file);
  TIFF* const tiff = source.tiff.get();
  Images images{PageReader(source).read()};
  while (!TIFFLastDirectory(tiff)) {
    const std::string page = "page " + std::to_string(TIFFCurrentDirectory(tiff) + 2) + ": ";
    source.messages.error = {};
    try {
      if (!TIFFReadDirectory(tiff)) reject_tiff(source.messages);
      if (is_image(tiff)) images.push_back(PageReader(source).read());
    } catch (const Failure& failure) {
      fail(page + failure.reason());
    }
  }
  return images;
}

}  // namespace HalconCpp::detail
