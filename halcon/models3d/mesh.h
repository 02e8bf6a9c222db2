// What the readers of 3D files fill in, and how it becomes a model. Coordinates are as in the file; nothing is scaled.
#ifndef HALCONCPP_MODELS3D_MESH_H
#define HALCONCPP_MODELS3D_MESH_H

#include <algorithm>  // IWYU pragma: keep (a template that is not instantiated on every machine)
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "HalconCpp.h"
#include "core/buffer.h"
#include "models3d/model3d.h"

namespace HalconCpp::detail {

struct Mesh {
  Buffer<double> x, y, z;
  Buffer<double> nx, ny, nz;
  Buffer<float> red, green, blue;
  // What turns the colors into 0..255; 0: 255 unless one of them is above 1.
  float color_scale = 0;

  void add_point(double px, double py, double pz) {
    x.push_back(px);
    y.push_back(py);
    z.push_back(pz);
  }
  // Faces come corner by corner. A polygon becomes a fan of triangles; one of two corners or less becomes none.
  void add_corner(double point);
  void end_face() noexcept {
    ++faces_;
    corners_ = 0;
  }
  // A face of three corners that exist.
  void add_triangle(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    for (const std::uint32_t corner : {a, b, c}) triangles_.push_back(static_cast<std::int32_t>(corner));
    ++faces_;
  }
  // Rejects faces with points that do not exist, and drops normals and colors that not every point has.
  Model3dParts finish();

 private:
  Buffer<std::int32_t> triangles_;
  Hlong faces_ = 0;
  std::size_t corners_ = 0;  // of the face that is being added
  std::int32_t first_ = 0;
  std::int32_t previous_ = 0;
  std::int32_t highest_ = -1;
};

// Rejects a declared count of things that take `bytes_each` bytes at least when only `left` bytes follow (the last
// one may lack its separator), and one of more than a model can hold.
void check_count(std::string_view things, std::uint64_t count, std::uint64_t bytes_each, std::uint64_t left);

// A value as a file stores it.
template <class T, std::endian order>
T stored_value(const std::byte* from) noexcept {
  std::byte bytes[sizeof(T)];
  std::memcpy(bytes, from, sizeof(T));
  if constexpr (order != std::endian::native) std::reverse(bytes, bytes + sizeof(T));
  return std::bit_cast<T>(bytes);
}

}  // namespace HalconCpp::detail

#endif
