// 3D object models: points, and what belongs to them.
#ifndef HALCONCPP_MODELS3D_MODEL3D_H
#define HALCONCPP_MODELS3D_MODEL3D_H

#include "core/access.h"
#include "dicts/entry_table.h"

namespace HalconCpp::detail {

// What a file or a generator says of a model; the tuples are shared, not copied.
struct Model3dParts {
  HTuple x, y, z;           // reals, equal length; the points
  HTuple nx, ny, nz;        // one normal per point, or empty
  HTuple red, green, blue;  // integers 0..255 per point, or empty
  HTuple triangles;         // three 0-based point numbers per triangle
  Hlong faces = 0;          // faces as the file had them, before polygons were cut into triangles
  HTuple primitive_type;    // empty, or "sphere", ...
  HTuple primitive_values;  // of a sphere: x, y, z, radius
};

class Model3dData final : public HandleData {
 public:
  explicit Model3dData(Model3dParts parts);
  const char* semantic_type() const noexcept override { return "object_model_3d"; }
  const EntryTable* entries() const noexcept override { return &entries_; }
  const Model3dParts& parts() const noexcept { return parts_; }
  // One of the entries: "num_points", "has_primitive_data", "primitive_type", ...; a model without points and primitive
  // has no "center", "diameter_axis_aligned_bounding_box" and "bounding_box1". Rejects what is not there.
  HTuple parameter(const HTuple& name) const;

 private:
  void show(const char* key, HTuple value);
  void show_extent();
  void show_points();

  Model3dParts parts_;
  EntryTable entries_;
};

}  // namespace HalconCpp::detail

#endif
