// PNG after "Portable Network Graphics, 2nd edition" (W3C, 2003), with libpng.
#include <png.h>

#include <algorithm>
#include <bit>
#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "core/buffer.h"
#include "core/failure.h"
#include "iconic/deferred_image.h"
#include "iconic/image.h"
#include "iconic/plane.h"
#include "images/codec.h"
#include "images/formats.h"
#include "images/jump.h"
#include "images/memory_file.h"
#include "images/pixels.h"
#include "images/raster.h"

namespace HalconCpp::detail {

namespace {

struct Failure {
  std::jmp_buf place;
  char text[200] = "";
};

[[noreturn]] void on_error(png_structp png, png_const_charp text) {
  auto& failure = *static_cast<Failure*>(png_get_error_ptr(png));
  std::snprintf(failure.text, sizeof failure.text, "%s", text);
  std::longjmp(failure.place, 1);
}

void ignore_warning(png_structp, png_const_charp) {}

// Runs library calls and turns their failure into a failure.
template <class Body>
void call_png(Failure& failure, Body&& body) {
  if (!jump_free(failure.place, body)) fail("PNG: " + std::string(failure.text));
}

class Decoder {
 public:
  explicit Decoder(Bytes file) : left_(file) {
    png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, &failure_, on_error, ignore_warning);
    if (png_) info_ = png_create_info_struct(png_);
    if (!info_) {
      png_destroy_read_struct(&png_, nullptr, nullptr);
      throw std::bad_alloc();
    }
  }
  ~Decoder() { png_destroy_read_struct(&png_, &info_, nullptr); }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  ImageShape shape(std::uint64_t file_bytes) {
    call_png(failure_, [this] { read_header(); });
    const PixelType type = depth_ == 16 ? PixelType::UInt2 : PixelType::Byte;
    const std::size_t channels = color_ == PNG_COLOR_TYPE_PALETTE ? palette_.channels() : png_get_channels(png_, info_);
    check_image_size(width_, height_, channels, type, file_bytes);
    return {type, static_cast<std::int32_t>(width_), static_cast<std::int32_t>(height_), channels};
  }

  ImageRef decode() {
    const ImageShape shape_found = shape(left_.size());
    ImageDraft draft(shape_found.type, shape_found.width, shape_found.height, shape_found.channels);
    call_png(failure_, [this] { start_rows(); });
    if (color_ == PNG_COLOR_TYPE_PALETTE)
      read_rows<std::uint8_t>([&](const std::uint8_t* row, std::size_t at) { palette_.put(row, width_, draft, at); });
    else if (shape_found.channels == 1)
      read_plane(draft.plane<png_byte>(0));
    else if (depth_ == 16)
      read_rows<std::uint16_t>([&](const std::uint16_t* row, std::size_t at) { split_pixels(row, width_, draft, at); });
    else
      read_rows<std::uint8_t>([&](const std::uint8_t* row, std::size_t at) { split_pixels(row, width_, draft, at); });
    return draft.finish();
  }

 private:
  static void read_bytes(png_structp png, png_bytep to, std::size_t count) {
    auto& left = static_cast<Decoder*>(png_get_io_ptr(png))->left_;
    if (count > left.size()) png_error(png, "the file ends too early");
    std::memcpy(to, left.data(), count);
    left = left.subspan(count);
  }

  void read_header() {
    png_set_read_fn(png_, this, read_bytes);
    // Sizes are judged by check_image_size, whose message names the limit.
    png_set_user_limits(png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    // Nothing but palette and transparency is wanted of the chunks beside the pixels: no gamma, no texts to unpack.
    png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
    png_read_info(png_, info_);
    png_get_IHDR(png_, info_, &width_, &height_, &depth_, &color_, nullptr, nullptr, nullptr);
    if (color_ == PNG_COLOR_TYPE_PALETTE) load_palette();
  }

  void load_palette() {
    png_colorp colors = nullptr;
    png_bytep alpha = nullptr;
    int count = 0;
    png_get_PLTE(png_, info_, &colors, &count);
    for (int i = 0; i < count; ++i)
      palette_.set(static_cast<std::size_t>(i), colors[i].red, colors[i].green, colors[i].blue);
    count = 0;
    if (png_get_tRNS(png_, info_, &alpha, &count, nullptr) && alpha)
      for (int i = 0; i < std::min(count, 256); ++i) palette_.set_alpha(static_cast<std::size_t>(i), alpha[i]);
  }

  void start_rows() {
    if (color_ == PNG_COLOR_TYPE_PALETTE)
      png_set_packing(png_);
    else if (depth_ < 8)
      png_set_expand_gray_1_2_4_to_8(png_);
    if constexpr (std::endian::native == std::endian::little) png_set_swap(png_);
    passes_ = png_set_interlace_handling(png_);
    png_read_update_info(png_, info_);
  }

  // The rows of one channel, which are those of its plane.
  void read_plane(png_bytep plane) {
    const std::size_t row_bytes = png_get_rowbytes(png_, info_);
    call_png(failure_, [&] {
      for (int pass = 0; pass < passes_; ++pass)
        for (std::size_t y = 0; y < height_; ++y) png_read_row(png_, plane + y * row_bytes, nullptr);
      png_read_end(png_, nullptr);  // the checksum of the last pixels
    });
  }

  // Calls `take` with each finished row and the index of its first pixel. Rows of an interlaced image grow over several
  // passes, so that all of them are kept.
  template <class T, class Take>
  void read_rows(Take take) {
    const std::size_t row_samples = png_get_rowbytes(png_, info_) / sizeof(T);
    Buffer<T> rows(row_samples * (passes_ > 1 ? height_ : 1));
    call_png(failure_, [&] {
      for (int pass = 0; pass < passes_; ++pass)
        for (std::size_t y = 0; y < height_; ++y) {
          T* row = rows.data() + (passes_ > 1 ? y * row_samples : 0);
          png_read_row(png_, reinterpret_cast<png_bytep>(row), nullptr);
          if (pass + 1 == passes_) take(row, y * width_);
        }
      png_read_end(png_, nullptr);
    });
  }

  Bytes left_;
  Failure failure_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
  png_uint_32 width_ = 0, height_ = 0;
  int depth_ = 0, color_ = 0, passes_ = 1;
  Palette palette_;
};

class Encoder {
 public:
  Encoder() {
    png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, &failure_, on_error, ignore_warning);
    if (png_) info_ = png_create_info_struct(png_);
    if (!info_) {
      png_destroy_write_struct(&png_, nullptr);
      throw std::bad_alloc();
    }
  }
  ~Encoder() { png_destroy_write_struct(&png_, &info_); }
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  template <class T>
  Buffer<std::byte> encode(const Image& image) {
    static constexpr int colors[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                                     PNG_COLOR_TYPE_RGB_ALPHA};
    const auto width = static_cast<std::size_t>(image.width);
    Buffer<T> row(width * image.channels.size());
    call_png(failure_, [&] {
      png_set_write_fn(png_, &file_, write_bytes, nullptr);
      png_set_user_limits(png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);  // as for reading
      png_set_IHDR(png_, info_, static_cast<png_uint_32>(image.width), static_cast<png_uint_32>(image.height),
                   8 * sizeof(T), colors[image.channels.size() - 1], PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                   PNG_FILTER_TYPE_DEFAULT);
      // A third of the default's time for files a few percent larger (up to a fifth on smooth pictures).
      png_set_compression_level(png_, 4);
      png_set_filter(png_, PNG_FILTER_TYPE_BASE, PNG_FILTER_UP);
      png_write_info(png_, info_);
      if constexpr (std::endian::native == std::endian::little) png_set_swap(png_);
      for (std::size_t at = 0; at < image.pixels(); at += width) {
        join_pixels(image, at, width, row.data());
        png_write_row(png_, reinterpret_cast<png_bytep>(row.data()));
      }
      png_write_end(png_, info_);
    });
    return std::move(file_.written);
  }

 private:
  static void write_bytes(png_structp png, png_bytep from, std::size_t count) {
    if (!static_cast<MemoryFile*>(png_get_io_ptr(png))->write(from, count)) png_error(png, "out of memory");
  }

  MemoryFile file_;
  Failure failure_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
};

}  // namespace

ImageRef read_png(Bytes file) { return Decoder(file).decode(); }
ImageShape png_shape(Bytes start, std::uint64_t file_bytes) { return Decoder(start).shape(file_bytes); }

Buffer<std::byte> write_png(const Image& image) {
  if (image.channels.size() <= 4) {
    if (image.type == PixelType::Byte) return Encoder().encode<std::uint8_t>(image);
    if (image.type == PixelType::UInt2) return Encoder().encode<std::uint16_t>(image);
  }
  reject_to_write(image, "PNG holds byte and uint2 images of 1 to 4 channels");
}

}  // namespace HalconCpp::detail
