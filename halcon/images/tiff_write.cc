// Images to TIFF: every pixel type and channel count, uncompressed.
#include <tiffio.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>
#include <vector>

#include "core/buffer.h"
#include "iconic/image.h"
#include "iconic/plane.h"
#include "images/formats.h"
#include "images/memory_file.h"
#include "images/pixels.h"
#include "images/tiff_file.h"

namespace HalconCpp::detail {

namespace {

// About the size of a strip: small enough for the cache, large enough to keep their number low.
constexpr std::size_t strip_bytes = 256 * 1024;

std::uint16_t sample_format(PixelType type) {
  switch (type) {
    case PixelType::Byte:
    case PixelType::UInt2:
      return SAMPLEFORMAT_UINT;
    case PixelType::Real:
      return SAMPLEFORMAT_IEEEFP;
    default:
      return SAMPLEFORMAT_INT;
  }
}

class Writer {
 public:
  explicit Writer(const Image& image)
      : image_(image),
        size_(pixel_size(image.type)),
        total_(image.pixels() * image.channels.size() * size_),
        joined_(image.channels.size() <= 4) {
    const std::size_t row = static_cast<std::size_t>(image.width) * size_ * (joined_ ? image.channels.size() : 1);
    rows_ = std::clamp<std::size_t>(strip_bytes / row, 1, static_cast<std::size_t>(image.height));
    sink_.written.reserve(total_ + total_ / 64 + 4096);
    // Offsets of 32 bits end at 4 GB; the tags need some of that.
    tiff_ = open_tiff(sink_, total_ > 0xff000000u ? "w8" : "w", messages_);
  }

  Buffer<std::byte> write() {
    write_tags();
    with_pixel_type(image_.type, [this](auto pixel) { joined_ ? write_joined<decltype(pixel)>() : write_planes(); });
    require(TIFFWriteDirectory(tiff_.get()));
    tiff_.reset();
    if (sink_.out_of_memory) throw std::bad_alloc();
    return std::move(sink_.written);
  }

 private:
  void require(bool done) {
    if (sink_.out_of_memory) throw std::bad_alloc();
    if (!done) reject_tiff(messages_);
  }

  template <class Value>
  void set(std::uint32_t tag, Value value) {
    require(TIFFSetField(tiff_.get(), tag, value));
  }

  // Three and four channels are colors; the fourth and the second are taken for an alpha channel.
  void write_tags() {
    const auto channels = static_cast<int>(image_.channels.size());
    const bool colors = channels == 3 || channels == 4;
    set(TIFFTAG_IMAGEWIDTH, image_.width);
    set(TIFFTAG_IMAGELENGTH, image_.height);
    set(TIFFTAG_BITSPERSAMPLE, static_cast<int>(8 * size_));
    set(TIFFTAG_SAMPLESPERPIXEL, channels);
    set(TIFFTAG_SAMPLEFORMAT, static_cast<int>(sample_format(image_.type)));
    set(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    set(TIFFTAG_PHOTOMETRIC, colors ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    set(TIFFTAG_PLANARCONFIG, joined_ ? PLANARCONFIG_CONTIG : PLANARCONFIG_SEPARATE);
    set(TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(rows_));
    const int extra = channels - (colors ? 3 : 1);
    if (extra == 0) return;
    const std::vector<std::uint16_t> kinds(static_cast<std::size_t>(extra),
                                           extra == 1 ? EXTRASAMPLE_UNASSALPHA : EXTRASAMPLE_UNSPECIFIED);
    require(TIFFSetField(tiff_.get(), TIFFTAG_EXTRASAMPLES, extra, kinds.data()));
  }

  template <class T>
  void write_joined() {
    const auto width = static_cast<std::size_t>(image_.width), height = static_cast<std::size_t>(image_.height);
    const std::size_t channels = image_.channels.size();
    Buffer<T> samples(channels == 1 ? 0 : rows_ * width * channels);
    std::uint32_t strip = 0;
    for (std::size_t y = 0; y < height; y += rows_) {
      const std::size_t pixels = std::min(rows_, height - y) * width;
      if (channels > 1) join_pixels(image_, y * width, pixels, samples.data());
      write_strip(strip++, channels > 1 ? samples.data() : image_.plane<T>(0) + y * width,
                  pixels * channels * sizeof(T));
    }
  }

  void write_planes() {
    const std::size_t row = static_cast<std::size_t>(image_.width) * size_;
    const auto height = static_cast<std::size_t>(image_.height);
    std::uint32_t strip = 0;
    for (const Plane& plane : image_.channels)
      for (std::size_t y = 0; y < height; y += rows_)
        write_strip(strip++, plane->data() + y * row, std::min(rows_, height - y) * row);
  }

  // libtiff swaps bytes in place only when the file's order is not this machine's; here they are the same.
  void write_strip(std::uint32_t strip, const void* samples, std::size_t bytes) {
    const auto count = static_cast<tmsize_t>(bytes);
    require(TIFFWriteEncodedStrip(tiff_.get(), strip, const_cast<void*>(samples), count) == count);
  }

  const Image& image_;
  std::size_t size_, total_;
  bool joined_;  // the channels of a pixel side by side, not plane by plane
  std::size_t rows_ = 1;
  TiffMessages messages_;
  MemoryFile sink_;
  TiffHandle tiff_;
};

}  // namespace

Buffer<std::byte> write_tiff(const Image& image) { return Writer(image).write(); }

}  // namespace HalconCpp::detail
