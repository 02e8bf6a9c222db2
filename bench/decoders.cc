#include "decoders.h"

#include <cstdint>
#include <cstdio>
// After <cstdio>, which it needs.
#include <jpeglib.h>
#include <png.h>
#include <tiffio.h>

#include <memory>
#include <random>
#include <vector>

#include "files.h"
#include "rows.h"

namespace bench {

namespace {

using Block = std::unique_ptr<std::uint8_t[]>;

Block new_block(std::size_t bytes) { return std::make_unique_for_overwrite<std::uint8_t[]>(bytes); }

Block decode_png(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_init_io(png, file);
  png_read_info(png, info);
  png_set_swap(png);
  png_set_interlace_handling(png);
  png_read_update_info(png, info);
  const std::size_t row_bytes = png_get_rowbytes(png, info), height = png_get_image_height(png, info);
  Block pixels = new_block(row_bytes * height);
  std::vector<png_bytep> rows(height);
  for (std::size_t i = 0; i < height; ++i) rows[i] = pixels.get() + i * row_bytes;
  png_read_image(png, rows.data());
  png_read_end(png, nullptr);
  png_destroy_read_struct(&png, &info, nullptr);
  std::fclose(file);
  return pixels;
}

Block decode_jpeg(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  jpeg_decompress_struct jpeg{};
  jpeg_error_mgr errors;
  jpeg.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&jpeg);
  jpeg_stdio_src(&jpeg, file);
  jpeg_read_header(&jpeg, TRUE);
  jpeg_start_decompress(&jpeg);
  const std::size_t row_bytes = std::size_t{jpeg.output_width} * static_cast<std::size_t>(jpeg.output_components);
  Block pixels = new_block(row_bytes * jpeg.output_height);
  while (jpeg.output_scanline < jpeg.output_height) {
    JSAMPLE* row = pixels.get() + jpeg.output_scanline * row_bytes;
    jpeg_read_scanlines(&jpeg, &row, 1);
  }
  jpeg_finish_decompress(&jpeg);
  jpeg_destroy_decompress(&jpeg);
  std::fclose(file);
  return pixels;
}

Block decode_tiff(const std::string& path) {
  TIFF* tiff = TIFFOpen(path.c_str(), "r");
  require(tiff, "a TIFF opens");
  const auto strip_bytes = static_cast<std::size_t>(TIFFStripSize(tiff));
  const std::uint32_t strips = TIFFNumberOfStrips(tiff);
  Block pixels = new_block(strip_bytes * strips);
  for (std::uint32_t i = 0; i < strips; ++i)
    TIFFReadEncodedStrip(tiff, i, pixels.get() + i * strip_bytes, static_cast<tmsize_t>(strip_bytes));
  TIFFClose(tiff);
  return pixels;
}

struct Rows {
  Rows(int width, int height, int channels) {
    std::minstd_rand random(7);
    const std::size_t row_bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(channels);
    pixels.resize(row_bytes * static_cast<std::size_t>(height));
    for (std::size_t i = 0; i < pixels.size(); ++i)
      pixels[i] = static_cast<std::uint8_t>(i % row_bytes / 100 + i / row_bytes / 40 + random() % 8);
    for (std::size_t i = 0; i < pixels.size(); i += row_bytes) begins.push_back(pixels.data() + i);
  }
  std::vector<std::uint8_t> pixels;
  std::vector<std::uint8_t*> begins;
};

double time_of(Block (*decode)(const std::string&), const std::string& path) {
  Block pixels;
  return seconds([&] { pixels = decode(path); });
}

}  // namespace

double time_of_libpng(const std::string& path) { return time_of(decode_png, path); }
double time_of_libjpeg(const std::string& path) { return time_of(decode_jpeg, path); }
double time_of_libtiff(const std::string& path) { return time_of(decode_tiff, path); }

void write_interlaced_png(const std::string& path, int width, int height, int channels) {
  Rows rows(width, height, channels);
  std::FILE* file = std::fopen(path.c_str(), "wb");
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_init_io(png, file);
  png_set_compression_level(png, 4);
  png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8,
               channels == 1 ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_ADAM7,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  png_set_interlace_handling(png);
  png_write_image(png, rows.begins.data());
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  std::fclose(file);
}

void write_compressed_tiff(const std::string& path, int width, int height, int channels) {
  Rows rows(width, height, channels);
  TIFF* tiff = TIFFOpen(path.c_str(), "w");
  require(tiff, "a TIFF is made");
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, channels);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, channels == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
  TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 16);
  for (int row = 0; row < height; ++row)
    TIFFWriteScanline(tiff, rows.begins[static_cast<std::size_t>(row)], static_cast<std::uint32_t>(row), 0);
  TIFFClose(tiff);
}

}  // namespace bench
