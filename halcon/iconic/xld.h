// XLD objects: subpixel contours, polygons and pairs of parallel polygons. Coordinates are row and column in pixels.
#ifndef HALCONCPP_ICONIC_XLD_H
#define HALCONCPP_ICONIC_XLD_H

#include <memory>
#include <vector>

#include "iconic/object_data.h"

namespace HalconCpp::detail {

// Parallel arrays of equal length.
struct Points {
  std::vector<double> rows, cols;
};

struct Contour final : IconicObject {
  static constexpr ObjectClass kind = ObjectClass::Contour;
  explicit Contour(Points p) noexcept : IconicObject(kind), points(std::move(p)) {}
  Points points;
};

struct Polygon final : IconicObject {
  static constexpr ObjectClass kind = ObjectClass::Polygon;
  explicit Polygon(Points p) noexcept : IconicObject(kind), points(std::move(p)) {}
  Points points;
};

// Two polygons that run side by side.
struct Parallels final : IconicObject {
  static constexpr ObjectClass kind = ObjectClass::Parallels;
  Parallels(Points a, Points b) noexcept : IconicObject(kind), first(std::move(a)), second(std::move(b)) {}
  Points first, second;
};

double length(const Points& points) noexcept;

}  // namespace HalconCpp::detail

#endif
