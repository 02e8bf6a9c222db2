// What this provider accepts at most. Each limit is named, with its number, in the message of a failure.
#ifndef HALCONCPP_CORE_LIMITS_H
#define HALCONCPP_CORE_LIMITS_H

#include <cstddef>
#include <cstdint>

namespace HalconCpp::detail::limits {

// Nesting of dictionaries, arrays and handles in a file.
inline constexpr int nesting = 1024;
// How often the dictionaries of one written file may refer to one that has been written already.
inline constexpr std::size_t repeated_dicts = std::size_t{1} << 20;
// Width and height of an image, and its number of channels.
inline constexpr std::int64_t image_side = 1 << 20;
inline constexpr std::size_t image_channels = 4096;
// All planes of one image together.
inline constexpr std::uint64_t image_bytes = std::uint64_t{16} << 30;
// Images of one file: pages, frames. Real stacks have some thousands; each image costs some hundred bytes beside its
// pixels, which limits::decoded_per_byte does not see.
inline constexpr std::uint64_t file_images = 65536;
// The densest formats that are in use reach 1032 bytes per byte (deflate: PNG, TIFF) and 1360 (LZW: GIF, TIFF).
// A compressed image of n bytes may decompress to `decoded_free` bytes or `decoded_per_byte` * n bytes, whichever is
// more.
#if defined(FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION)  // large pictures would take up the time of a fuzzer
inline constexpr std::uint64_t decoded_free = std::uint64_t{1} << 20;
#else
inline constexpr std::uint64_t decoded_free = std::uint64_t{64} << 20;
#endif
inline constexpr std::uint64_t decoded_per_byte = 1536;
// What a library keeps to decode it (tables of tiles) may take `decoded_free` bytes or this many per byte of the file.
inline constexpr std::uint64_t tables_per_byte = 64;
// Scans of a progressive JPEG: each costs a pass over the whole picture, however short it is. Real files have about
// ten.
inline constexpr std::uint64_t jpeg_scans = 100;
// ONNX messages within messages: graphs in graphs take three levels each. The parser goes down by recursion.
inline constexpr int onnx_nesting = 100;
// Rows of a matrix without columns: they take no room in a file, but do where they are shown.
inline constexpr std::int64_t empty_rows = 16;
// Points, and faces, of a 3D model: they are numbered by 32-bit integers.
inline constexpr std::uint64_t model_points = (std::uint64_t{1} << 31) - 1;

}  // namespace HalconCpp::detail::limits

#endif
