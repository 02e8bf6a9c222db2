// What this provider accepts at most. The error text of each limit states its number; docs/limits.md gives the sum.
#ifndef HALCONCPP_CORE_LIMITS_H
#define HALCONCPP_CORE_LIMITS_H

#include <cstddef>
#include <cstdint>

namespace HalconCpp::detail::limits {

// Nesting of dictionaries, arrays and handles in a file: far more than real data has, and little enough that a damaged
// file fails early. Nothing in this library uses stack per level.
inline constexpr int nesting = 1024;
// How often the dictionaries of one written file may refer to one that has been written already. Each reference is
// written in full, so that a few dictionaries that hold one another twice would fill the disk.
inline constexpr std::size_t repeated_dicts = std::size_t{1} << 20;
// Width and height of an image, and its number of channels: as many as any sensor gives, and products fit in 64 bits.
inline constexpr std::int64_t image_side = 1 << 20;
inline constexpr std::size_t image_channels = 4096;
// All planes of one image together, and all images of one call.
inline constexpr std::uint64_t image_bytes = std::uint64_t{16} << 30;
// Images of one file: pages, frames. Real stacks have some thousands; each image costs some hundred bytes beside its
// pixels, which limits::decoded_per_byte does not see.
inline constexpr std::uint64_t file_images = 65536;
// A compressed image of n bytes may decompress to `decoded_free` bytes or `decoded_per_byte` * n bytes, whichever is
// more. The densest codes in use reach 1032 bytes per byte (deflate: PNG, TIFF) and 1360 (LZW: GIF, TIFF).
#if defined(FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION)  // large images would take up the time of a fuzzer
inline constexpr std::uint64_t decoded_free = std::uint64_t{1} << 20;
#else
inline constexpr std::uint64_t decoded_free = std::uint64_t{64} << 20;
#endif
inline constexpr std::uint64_t decoded_per_byte = 1536;
// Images of one call that decode to more than `decoded_at_once` bytes together are decoded when their pixels are asked
// for, those in formats whose header says their size. A process keeps `decoded_cache` bytes of such pixels.
#if defined(FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION)
inline constexpr std::uint64_t decoded_at_once = 64, decoded_cache = 1024;
#else
inline constexpr std::uint64_t decoded_at_once = std::uint64_t{256} << 20, decoded_cache = std::uint64_t{64} << 20;
#endif
// What a codec library allocates besides (tables of tiles) may take `decoded_free` bytes or this many per byte of the
// file.
inline constexpr std::uint64_t tables_per_byte = 64;
// Scans of a progressive JPEG: each costs a pass over the whole picture, however short it is. Real files have about
// ten.
inline constexpr std::uint64_t jpeg_scans = 100;
// ONNX messages within messages: graphs in graphs take three levels each. The parser recurses once per level.
inline constexpr int onnx_nesting = 100;
// Rows of a matrix without columns: they take no bytes in a file, but a line each in a tree.
inline constexpr std::int64_t empty_rows = 16;
// Points, and faces, of a 3D model: they are numbered by 32-bit integers.
inline constexpr std::uint64_t model_points = (std::uint64_t{1} << 31) - 1;

}  // namespace HalconCpp::detail::limits

#endif
