// 8-bit pixels as a PNG file in memory.
#ifndef QUOVEL_HOST_PNG_FILE_H
#define QUOVEL_HOST_PNG_FILE_H

#include <cstdint>
#include <string>

namespace host {

// Gray, RGB or RGBA rows: `channels` bytes per pixel, rows `stride` bytes apart.
std::string make_png(const std::uint8_t* pixels, std::uint32_t width, std::uint32_t height, std::uint32_t stride,
                     int channels);

// The bytes compressed, as a zlib stream (RFC 1950).
std::string zlib_data(const std::string& bytes);

}  // namespace host

#endif
