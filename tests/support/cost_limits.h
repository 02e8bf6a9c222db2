// What opening an untrusted file of n bytes may cost at most: the promise of docs/limits.md, as tests, fuzz targets and
// the check of that document read it.
#ifndef TESTS_SUPPORT_COST_LIMITS_H
#define TESTS_SUPPORT_COST_LIMITS_H

#include <algorithm>

namespace test::cost {

inline constexpr double mib = 1 << 20;

// Memory beyond what the process had before: the larger of `per_byte` * n and `least`, in bytes.
struct Limit {
  const char* kind;  // the first column of the table in docs/limits.md
  double per_byte;
  double least;

  constexpr double bytes(double n) const { return std::max(per_byte * n, least); }
};

inline constexpr Limit json{"JSON", 128, 16 * mib};
inline constexpr Limit onnx{"ONNX", 512, 16 * mib};
inline constexpr Limit mesh{"PLY, OBJ, STL, OFF", 48, 16 * mib};
inline constexpr Limit container{"`.hobj`, `.hdict`, `.om3`, `.hdl`", 96, 16 * mib};
inline constexpr Limit pnm{"PNM", 8, 16 * mib};
inline constexpr Limit image{"PNG, JPEG, TIFF, JPEG 2000, BMP, GIF, PCX, Sun raster, XWD", 6144, 256 * mib};
inline constexpr Limit all[] = {json, onnx, mesh, container, pnm, image};

// Processor time, on a machine of today.
inline constexpr double least_seconds = 5, seconds_per_byte = 5e-6;
constexpr double seconds(double n) { return least_seconds + seconds_per_byte * n; }

}  // namespace test::cost

#endif
