// The functions of the codec files, for the tables in formats.cc.
#ifndef HALCONCPP_IMAGES_FORMATS_H
#define HALCONCPP_IMAGES_FORMATS_H

#include <cstddef>
#include <cstdint>

#include "core/buffer.h"
#include "iconic/deferred_image.h"
#include "iconic/image.h"
#include "images/codec.h"

namespace HalconCpp::detail {

// Each is called with a file whose first bytes formats.cc has recognized; the codec checks everything else.
ImageRef read_png(Bytes file);
ImageShape png_shape(Bytes start, std::uint64_t file_bytes);
ImageRef read_jpeg(Bytes file);
ImageShape jpeg_shape(Bytes start, std::uint64_t file_bytes);
Images read_tiff(Bytes file);
ImageRef read_jp2(Bytes file);  // JP2 files and bare codestreams
ImageRef read_jxr(Bytes file);
ImageRef read_bmp(Bytes file);
Images read_gif(Bytes file);
ImageRef read_pcx(Bytes file);
ImageRef read_ras(Bytes file);  // Sun raster
ImageRef read_xwd(Bytes file);
bool is_pnm(Bytes file);
Images read_pnm(Bytes file);

// Each rejects (`reject_to_write`) an image that its format cannot hold exactly.
Buffer<std::byte> write_png(const Image& image);
Buffer<std::byte> write_jpeg(const Image& image);
Buffer<std::byte> write_tiff(const Image& image);
Buffer<std::byte> write_jp2(const Image& image);
Buffer<std::byte> write_bmp(const Image& image);
Buffer<std::byte> write_pnm(const Image& image);
Buffer<std::byte> write_pgm(const Image& image);
Buffer<std::byte> write_ppm(const Image& image);
Buffer<std::byte> write_pbm(const Image& image);

// "PNG holds byte and uint2 images of 1 to 4 channels, not 5 channels of type real"; `holds` is the text up to the
// comma.
[[noreturn]] void reject_to_write(const Image& image, const char* holds);

}  // namespace HalconCpp::detail

#endif
