#include "images/formats.h"

#include <bit>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/failure.h"
#include "core/limits.h"
#include "iconic/plane.h"
#include "images/raster.h"

namespace HalconCpp::detail {

namespace {

using namespace std::string_view_literals;

std::uint8_t byte_at(Bytes file, std::size_t i) { return static_cast<std::uint8_t>(file[i]); }

bool is_png(Bytes file) { return starts_with(file, "\x89PNG\r\n\x1a\n"); }
bool is_jpeg(Bytes file) { return starts_with(file, "\xff\xd8"); }

// Classic and big files of both byte orders.
bool is_tiff(Bytes file) {
  return starts_with(file, "II*\0"sv) || starts_with(file, "MM\0*"sv) || starts_with(file, "II+\0"sv) ||
         starts_with(file, "MM\0+"sv);
}

bool is_jp2(Bytes file) {
  return starts_with(file, "\0\0\0\x0cjP  \r\n\x87\n"sv) || starts_with(file, "\xff\x4f\xff\x51");
}

bool is_jxr(Bytes file) { return starts_with(file, "II\xbc"); }
bool is_gif(Bytes file) { return starts_with(file, "GIF87a") || starts_with(file, "GIF89a"); }
bool is_ras(Bytes file) { return starts_with(file, "\x59\xa6\x6a\x95"); }

bool is_bmp(Bytes file) { return starts_with(file, "BM"); }

// header_size below 64 KiB, file_version 7, one of the three formats; in either byte order.
bool is_xwd(Bytes file) {
  if (file.size() < 12) return false;
  for (const std::endian order : {std::endian::big, std::endian::little}) {
    const Fields fields(file, order);
    if (fields.u32(0) < 65536 && fields.u32(4) == 7 && fields.u32(8) <= 2) return true;
  }
  return false;
}

// One byte of magic; then Version, Encoding, BitsPerPixel and NPlanes must have values that exist.
bool is_pcx(Bytes file) {
  if (file.size() < 66 || byte_at(file, 0) != 10) return false;
  const auto version = byte_at(file, 1), encoding = byte_at(file, 2), bits = byte_at(file, 3);
  return version <= 5 && version != 1 && encoding <= 1 && (bits == 1 || bits == 2 || bits == 4 || bits == 8) &&
         byte_at(file, 65) >= 1 && byte_at(file, 65) <= 4;
}

// The reader of a format whose files hold one image each.
template <ImageRef (*read)(Bytes)>
Images one(Bytes file) {
  return {read(file)};
}

// The codec function, or null when this build does without its library.
#define HALCONCPP_CODEC(library, function)              \
  ([] {                                                 \
    if constexpr (HALCONCPP_HAVE_##library)             \
      return &function;                                 \
    else                                                \
      return static_cast<decltype(&function)>(nullptr); \
  }())

// Formats with a long signature come first, those with a short one last.
constexpr ImageReader readers[] = {
    {"PNG", is_png, HALCONCPP_CODEC(PNG, one<read_png>), "built without libpng", HALCONCPP_CODEC(PNG, png_shape)},
    {"JPEG", is_jpeg, HALCONCPP_CODEC(JPEG, one<read_jpeg>), "built without libjpeg",
     HALCONCPP_CODEC(JPEG, jpeg_shape)},
    {"TIFF", is_tiff, HALCONCPP_CODEC(TIFF, read_tiff), "built without libtiff"},
    {"JPEG 2000", is_jp2, HALCONCPP_CODEC(JP2, one<read_jp2>), "built without OpenJPEG"},
    {"JPEG XR", is_jxr, HALCONCPP_CODEC(JPEGXR, one<read_jxr>), "build it with -DHALCON_JPEGXR=ON"},
    {"GIF", is_gif, HALCONCPP_CODEC(GIF, read_gif), "built without giflib"},
    {"Sun raster", is_ras, one<read_ras>, nullptr},
    {"PNM", is_pnm, read_pnm, nullptr},
    {"XWD", is_xwd, one<read_xwd>, nullptr},
    {"PCX", is_pcx, one<read_pcx>, nullptr},
    {"BMP", is_bmp, one<read_bmp>, nullptr},
};

constexpr ImageWriter writers[] = {
    {"png", HALCONCPP_CODEC(PNG, write_png), "built without libpng"},
    {"tiff", HALCONCPP_CODEC(TIFF, write_tiff), "built without libtiff"},
    {"jpg", HALCONCPP_CODEC(JPEG, write_jpeg), "built without libjpeg"},
    {"bmp", write_bmp, nullptr},
    {"jp2", HALCONCPP_CODEC(JP2, write_jp2), "built without OpenJPEG"},
    {"pnm", write_pnm, nullptr},
    {"pgm", write_pgm, nullptr},
    {"ppm", write_ppm, nullptr},
    {"pbm", write_pbm, nullptr},
};

#undef HALCONCPP_CODEC

}  // namespace

void ImageBudget::charge(std::uint64_t width, std::uint64_t height, std::uint64_t channels, PixelType type) {
  check_image_size(width, height, channels, type, file_bytes_);
  if (++images_ > limits::file_images) fail("holds more than " + std::to_string(limits::file_images) + " images");
  bytes_ += width * height * channels * pixel_size(type);  // each at most limits::image_bytes: fits
  if (bytes_ > limits::image_bytes)
    fail("its images take more than " + std::to_string(limits::image_bytes) + " bytes together");
  if (bytes_ > limits::decoded_free && bytes_ / limits::decoded_per_byte > file_bytes_)
    fail("its first " + std::to_string(images_) + " images take " + std::to_string(bytes_) +
         " bytes, more than a file of " + std::to_string(file_bytes_) + " bytes can hold");
}

std::span<const ImageReader> image_readers() { return readers; }
std::span<const ImageWriter> image_writers() { return writers; }

void reject_to_write(const Image& image, const char* holds) {
  const std::size_t channels = image.channels.size();
  fail(std::string(holds) + ", not " + std::to_string(channels) + (channels == 1 ? " channel" : " channels") +
       " of type " + pixel_type_name(image.type));
}

}  // namespace HalconCpp::detail
