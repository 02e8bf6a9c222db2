#include <csetjmp>

// JPEG after ITU-T T.81 and JFIF 1.02, with libjpeg-turbo: Huffman or arithmetic codes of 8 bits, sequential or
// progressive.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <vector>
// After <cstdio>, which it needs.
#include <jerror.h>
#include <jpeglib.h>

#include <algorithm>
#include <climits>
#include <string>

#include "core/buffer.h"
#include "core/failure.h"
#include "core/limits.h"
#include "core/memory_limit.h"
#include "iconic/deferred_image.h"
#include "iconic/image.h"
#include "iconic/plane.h"
#include "images/codec.h"
#include "images/colors.h"
#include "images/formats.h"
#include "images/jump.h"
#include "images/pixels.h"

namespace HalconCpp::detail {

namespace {

constexpr int quality = 90;

// Fewer than the limit where the picture is so large that each is costly.
int max_scans(std::uint64_t samples, std::uint64_t file_bytes) {
  const std::uint64_t visits = std::max(std::uint64_t{1} << 33, file_bytes * limits::decoded_per_byte);
  return static_cast<int>(std::clamp<std::uint64_t>(visits / samples, 20, limits::jpeg_scans));
}

// The library reaches all of it through its first member.
struct Failure {
  jpeg_error_mgr manager;
  std::jmp_buf place;
  char text[JMSG_LENGTH_MAX];
};

Failure& failure_of(j_common_ptr jpeg) { return *reinterpret_cast<Failure*>(jpeg->err); }

[[noreturn]] void on_error(j_common_ptr jpeg) {
  Failure& failure = failure_of(jpeg);
  failure.manager.format_message(jpeg, failure.text);
  std::longjmp(failure.place, 1);
}

// Warnings after which the pixels are still those that were written: bytes between the segments, versions and color
// codes of application segments, scan parameters that a sequential image has no use for. Every other one means that
// data is missing or damaged.
bool is_harmless(int warning) {
  return warning == JWRN_EXTRANEOUS_DATA || warning == JWRN_JFIF_MAJOR || warning == JWRN_ADOBE_XFORM ||
         warning == JWRN_NOT_SEQUENTIAL || warning == JWRN_BOGUS_ICC;
}

void on_message(j_common_ptr jpeg, int level) {
  if (level < 0 && !is_harmless(jpeg->err->msg_code)) on_error(jpeg);
}

jpeg_error_mgr* watch(Failure& failure) {
  jpeg_std_error(&failure.manager);
  failure.manager.error_exit = on_error;
  failure.manager.emit_message = on_message;
  return &failure.manager;
}

std::string reason(const Failure& failure) {
  const int value = failure.manager.msg_parm.i[0];
  if (failure.manager.msg_code == JERR_BAD_PRECISION)
    return "JPEG of " + std::to_string(value) + " bits per sample is not read";
  if (failure.manager.msg_code == JERR_SOF_UNSUPPORTED)
    return value == 0xC3 || value == 0xCB ? "lossless JPEG is not read" : "hierarchical JPEG is not read";
  return "JPEG: " + std::string(failure.text);
}

// Runs library calls and turns their failure into a failure.
template <class Body>
void call_jpeg(Failure& failure, Body&& body) {
  if (jump_free(failure.place, body)) return;
  if (failure.manager.msg_code == JERR_OUT_OF_MEMORY) throw std::bad_alloc();
  fail(reason(failure));
}

// The library reaches it through its first member.
struct ScanCount {
  jpeg_progress_mgr manager;
  int max;
};

void count_scans(j_common_ptr jpeg) {
  const int max = reinterpret_cast<ScanCount*>(jpeg->progress)->max;
  if (reinterpret_cast<j_decompress_ptr>(jpeg)->input_scan_number <= max) return;
  Failure& failure = failure_of(jpeg);
  std::snprintf(failure.text, sizeof failure.text, "more than %d scans", max);
  std::longjmp(failure.place, 1);
}

class Decoder {
 public:
  explicit Decoder(Bytes file) noexcept : file_(file) {}
  ~Decoder() { jpeg_destroy_decompress(&jpeg_); }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  // Inks become three colors.
  ImageShape shape(std::uint64_t file_bytes) {
    call_jpeg(failure_, [this] { read_header(); });
    if (jpeg_.num_components == 2 || jpeg_.num_components > 4)
      fail("JPEG of " + std::to_string(jpeg_.num_components) + " color components is not read");
    if (jpeg_.data_precision != 8)
      fail("JPEG of " + std::to_string(jpeg_.data_precision) + " bits per sample is not read");
    const auto channels = static_cast<std::size_t>(jpeg_.num_components);
    check_image_size(jpeg_.image_width, jpeg_.image_height, channels, PixelType::Byte, file_bytes);
    return {PixelType::Byte, static_cast<std::int32_t>(jpeg_.image_width),
            static_cast<std::int32_t>(jpeg_.image_height), std::min<std::size_t>(channels, 3)};
  }

  ImageRef decode() {
    shape(file_.size());
    const auto channels = static_cast<std::size_t>(jpeg_.num_components), width = std::size_t{jpeg_.image_width};
    // An image of several scans keeps its coefficients, of 16 bits each.
    const std::size_t samples = width * jpeg_.image_height * channels;
    const MemoryCharge coefficients(jpeg_has_multiple_scans(&jpeg_) ? samples * sizeof(JCOEF) : 0);
    scans_.manager.progress_monitor = count_scans;
    scans_.max = max_scans(samples, file_.size());
    ImageDraft draft(PixelType::Byte, static_cast<std::int32_t>(width), static_cast<std::int32_t>(jpeg_.image_height),
                     channels);
    Buffer<JSAMPLE> row(width * channels);
    call_jpeg(failure_, [&] { read_rows(draft, row.data()); });
    if (channels == 4) convert_inks(draft, samples / channels);
    return draft.finish();
  }

 private:
  void read_header() {
    jpeg_.err = watch(failure_);
    jpeg_create_decompress(&jpeg_);
    jpeg_mem_src(&jpeg_, reinterpret_cast<const unsigned char*>(file_.data()),
                 static_cast<unsigned long>(std::min<std::size_t>(file_.size(), ULONG_MAX)));
    jpeg_read_header(&jpeg_, TRUE);
    jpeg_.out_color_space = jpeg_.num_components == 1 ? JCS_GRAYSCALE : jpeg_.num_components == 3 ? JCS_RGB : JCS_CMYK;
  }

  // What follows the last row is not looked at.
  void read_rows(ImageDraft& draft, JSAMPLE* row) {
    const std::size_t width = jpeg_.image_width;
    jpeg_.progress = &scans_.manager;
    jpeg_start_decompress(&jpeg_);
    for (std::size_t at = 0; jpeg_.output_scanline < jpeg_.output_height; at += width) {
      JSAMPLE* target = jpeg_.num_components == 1 ? draft.plane<JSAMPLE>(0) + at : row;
      jpeg_read_scanlines(&jpeg_, &target, 1);
      if (jpeg_.num_components > 1) split_pixels(row, width, draft, at);
    }
  }

  // Files with Adobe's marker store the inks inverted.
  void convert_inks(ImageDraft& draft, std::size_t pixels) const {
    for (std::size_t c = 0; jpeg_.saw_Adobe_marker && c < 4; ++c) invert<JSAMPLE>(draft, c, pixels, MAXJSAMPLE);
    cmyk_to_rgb<JSAMPLE>(draft, pixels, MAXJSAMPLE);
  }

  Bytes file_;
  Failure failure_{};
  ScanCount scans_{};
  jpeg_decompress_struct jpeg_{};
};

class Encoder {
 public:
  Encoder() noexcept = default;
  ~Encoder() {
    jpeg_destroy_compress(&jpeg_);
    std::free(file_);
  }
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  Buffer<std::byte> encode(const Image& image) {
    Buffer<JSAMPLE> row(static_cast<std::size_t>(image.width) * image.channels.size());
    call_jpeg(failure_, [&] {
      start(image);
      JSAMPLE* from = row.data();
      for (std::size_t at = 0; at < image.pixels(); at += static_cast<std::size_t>(image.width)) {
        join_pixels(image, at, static_cast<std::size_t>(image.width), from);
        jpeg_write_scanlines(&jpeg_, &from, 1);
      }
      jpeg_finish_compress(&jpeg_);
    });
    Buffer<std::byte> file;
    file.append(reinterpret_cast<const std::byte*>(file_), size_);
    return file;
  }

 private:
  void start(const Image& image) {
    jpeg_.err = watch(failure_);
    jpeg_create_compress(&jpeg_);
    jpeg_mem_dest(&jpeg_, &file_, &size_);
    jpeg_.image_width = static_cast<JDIMENSION>(image.width);
    jpeg_.image_height = static_cast<JDIMENSION>(image.height);
    jpeg_.input_components = static_cast<int>(image.channels.size());
    jpeg_.in_color_space = image.channels.size() == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&jpeg_);
    jpeg_set_quality(&jpeg_, quality, TRUE);
    jpeg_start_compress(&jpeg_, TRUE);
  }

  unsigned char* file_ = nullptr;  // allocated by the library
  unsigned long size_ = 0;
  Failure failure_{};
  jpeg_compress_struct jpeg_{};
};

}  // namespace

ImageRef read_jpeg(Bytes file) { return Decoder(file).decode(); }
ImageShape jpeg_shape(Bytes start, std::uint64_t file_bytes) { return Decoder(start).shape(file_bytes); }

Buffer<std::byte> write_jpeg(const Image& image) {
  const std::size_t channels = image.channels.size();
  if (image.type != PixelType::Byte || (channels != 1 && channels != 3))
    reject_to_write(image, "JPEG holds byte images of 1 or 3 channels");
  return Encoder().encode(image);
}

}  // namespace HalconCpp::detail
