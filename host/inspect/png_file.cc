// PNG (ISO/IEC 15948): three chunks around data that zlib compresses. A PNG library would be one more dependency.
#include "png_file.h"

#include <zlib.h>

#include <cstddef>
#include <initializer_list>

#include "session.h"

namespace host {

namespace {

void append_number(std::string& out, std::uint32_t value) {
  for (const int shift : {24, 16, 8, 0}) out += static_cast<char>(value >> shift);
}

void append_chunk(std::string& png, const char* type, const std::string& data) {
  append_number(png, static_cast<std::uint32_t>(data.size()));
  const std::string body = type + data;
  png += body;
  append_number(png, static_cast<std::uint32_t>(
                         crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()))));
}

// The rows, each after its filter type byte: 1, "Sub", subtracts the pixel to the left, which suits pictures.
std::string filtered_rows(const std::uint8_t* pixels, std::uint32_t width, std::uint32_t height, std::uint32_t stride,
                          int channels) {
  const std::size_t row_bytes = std::size_t{width} * static_cast<std::size_t>(channels);
  const auto step = static_cast<std::size_t>(channels);
  std::string rows;
  rows.reserve((row_bytes + 1) * height);
  for (std::uint32_t row = 0; row < height; ++row) {
    const std::uint8_t* from = pixels + std::size_t{row} * stride;
    rows += '\1';
    for (std::size_t i = 0; i < row_bytes; ++i) rows += static_cast<char>(from[i] - (i < step ? 0 : from[i - step]));
  }
  return rows;
}

}  // namespace

std::string zlib_data(const std::string& bytes) {
  uLongf size = compressBound(static_cast<uLong>(bytes.size()));
  std::string result(size, '\0');
  const int outcome = compress2(reinterpret_cast<Bytef*>(result.data()), &size,
                                reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uLong>(bytes.size()), 6);
  if (outcome != Z_OK) throw Failure("the picture could not be compressed");
  result.resize(size);
  return result;
}

std::string make_png(const std::uint8_t* pixels, std::uint32_t width, std::uint32_t height, std::uint32_t stride,
                     int channels) {
  constexpr std::uint64_t max_bytes = std::uint64_t{1} << 31;
  if ((std::uint64_t{width} * static_cast<unsigned>(channels) + 1) * height >= max_bytes)
    throw Failure("the picture is larger than the 2 GiB that are written as PNG");
  std::string header;
  append_number(header, width);
  append_number(header, height);
  header += '\x08';
  header += channels == 1 ? '\0' : channels == 3 ? '\2' : '\6';
  header += std::string(3, '\0');
  std::string png = "\x89PNG\r\n\x1A\n";
  append_chunk(png, "IHDR", header);
  append_chunk(png, "IDAT", zlib_data(filtered_rows(pixels, width, height, stride, channels)));
  append_chunk(png, "IEND", "");
  return png;
}

}  // namespace host
