#include "images/formats.h"

#include <string>

#include "core/failure.h"

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

bool is_pnm(Bytes file) {
  if (file.size() < 3 || !starts_with(file, "P")) return false;
  const auto kind = byte_at(file, 1), next = byte_at(file, 2);
  return kind >= '1' && kind <= '7' && (next == ' ' || (next >= '\t' && next <= '\r') || next == '#');
}

bool is_bmp(Bytes file) { return starts_with(file, "BM"); }

// Version 7 in the second word, after a header size that is not absurd, in either byte order.
bool is_xwd(Bytes file) {
  if (file.size() < 8) return false;
  const Bytes size = file.first(4), version = file.subspan(4, 4);
  const bool big = starts_with(version, "\0\0\0\7"sv) && starts_with(size, "\0\0"sv);
  const bool little = starts_with(version, "\7\0\0\0"sv) && byte_at(size, 2) == 0 && byte_at(size, 3) == 0;
  return big || little;
}

// One byte of magic, then a version, an encoding and a depth that exist.
bool is_pcx(Bytes file) {
  if (file.size() < 4 || byte_at(file, 0) != 10) return false;
  const auto version = byte_at(file, 1), encoding = byte_at(file, 2), bits = byte_at(file, 3);
  return version <= 5 && version != 1 && encoding <= 1 && (bits == 1 || bits == 2 || bits == 4 || bits == 8);
}

// The codec function, or null when this build does without its library.
#define HALCONCPP_CODEC(library, function)              \
  ([] {                                                 \
    if constexpr (HALCONCPP_HAVE_##library)             \
      return &function;                                 \
    else                                                \
      return static_cast<decltype(&function)>(nullptr); \
  }())

// The formats that are sure by their first bytes come first, those with short signatures last.
constexpr ImageReader readers[] = {
    {"PNG", is_png, HALCONCPP_CODEC(PNG, read_png), "built without libpng"},
    {"JPEG", is_jpeg, HALCONCPP_CODEC(JPEG, read_jpeg), "built without libjpeg"},
    {"TIFF", is_tiff, HALCONCPP_CODEC(TIFF, read_tiff), "built without libtiff"},
    {"JPEG 2000", is_jp2, HALCONCPP_CODEC(JP2, read_jp2), "built without OpenJPEG"},
    {"JPEG XR", is_jxr, HALCONCPP_CODEC(JPEGXR, read_jxr), "build it with -DHALCON_JPEGXR=ON"},
    {"GIF", is_gif, HALCONCPP_CODEC(MAGICK, read_gif), "built without GraphicsMagick"},
    {"Sun raster", is_ras, HALCONCPP_CODEC(MAGICK, read_ras), "built without GraphicsMagick"},
    {"PNM", is_pnm, read_pnm, nullptr},
    {"XWD", is_xwd, HALCONCPP_CODEC(MAGICK, read_xwd), "built without GraphicsMagick"},
    {"PCX", is_pcx, HALCONCPP_CODEC(MAGICK, read_pcx), "built without GraphicsMagick"},
    {"BMP", is_bmp, HALCONCPP_CODEC(MAGICK, read_bmp), "built without GraphicsMagick"},
};

constexpr ImageWriter writers[] = {
    {"png", HALCONCPP_CODEC(PNG, write_png), "built without libpng"},
    {"tiff", HALCONCPP_CODEC(TIFF, write_tiff), "built without libtiff"},
    {"jpg", HALCONCPP_CODEC(JPEG, write_jpeg), "built without libjpeg"},
    {"bmp", HALCONCPP_CODEC(MAGICK, write_bmp), "built without GraphicsMagick"},
    {"jp2", HALCONCPP_CODEC(JP2, write_jp2), "built without OpenJPEG"},
    {"pnm", write_pnm, nullptr},
    {"pgm", write_pgm, nullptr},
    {"ppm", write_ppm, nullptr},
    {"pbm", write_pbm, nullptr},
};

#undef HALCONCPP_CODEC

}  // namespace

std::span<const ImageReader> image_readers() { return readers; }
std::span<const ImageWriter> image_writers() { return writers; }

void refuse_to_write(const Image& image, const char* holds) {
  const std::size_t channels = image.channels.size();
  refuse(std::string(holds) + ", not " + std::to_string(channels) + (channels == 1 ? " channel" : " channels") +
         " of type " + pixel_type_name(image.type));
}

}  // namespace HalconCpp::detail
