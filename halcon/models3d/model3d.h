// 3D object models: points, and what belongs to them.
#ifndef HALCONCPP_MODELS3D_MODEL3D_H
#define HALCONCPP_MODELS3D_MODEL3D_H

#include <array>

#include "HalconCpp.h"
#include "core/handle_data.h"
#include "dicts/entry_table.h"

namespace HalconCpp::detail {

// The content of a model. Tuples are shared, not copied.
struct Model3dParts {
  HTuple x, y, z;           // reals of equal length: the points
  HTuple nx, ny, nz;        // one normal per point, or empty
  HTuple red, green, blue;  // one integer 0..255 per point, or empty
  HTuple triangles;         // three 0-based point numbers per triangle
  Hlong faces = 0;          // faces as in the file, before polygons were divided into triangles
  HTuple primitive_type;    // empty, or "sphere"
  HTuple primitive_values;  // of a sphere: x, y, z, radius

  // All tuples, in the order in which a container holds them.
  std::array<HTuple*, 12> tuples() noexcept {
    return {&x, &y, &z, &nx, &ny, &nz, &red, &green, &blue, &triangles, &primitive_type, &primitive_values};
  }
};

// Fails when the tuples are not as described above.
void check(const Model3dParts& model);

class Model3dData final : public HandleData {
 public:
  static constexpr const char* type = "object_model_3d";
  static constexpr const char* name = "a 3D object model";
  explicit Model3dData(Model3dParts parts);
  const char* semantic_type() const noexcept override { return type; }
  const EntryTable* entries() const noexcept override { return &entries_; }
  const Model3dParts& parts() const noexcept { return parts_; }
  // One of the entries: "num_points", "has_primitive_data", "primitive_type", ... A model without points and primitive
  // has no "center", "diameter_axis_aligned_bounding_box" and "bounding_box1". Fails for a name that is not there.
  HTuple parameter(const HTuple& key) const;

 private:
  void add(const char* key, HTuple value);
  void add_extent();
  void add_points();

  Model3dParts parts_;
  EntryTable entries_;
};

}  // namespace HalconCpp::detail

#endif
