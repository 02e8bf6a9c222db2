// The operators of contours, polygons and parallels, and those that make them. Returned
// coordinates share the memory of the object.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "core/access.h"
#include "core/arguments.h"
#include "core/buffer.h"
#include "core/failure.h"
#include "iconic/object_data.h"
#include "iconic/xld.h"

namespace HalconCpp {

namespace detail {

double length(const Points& points) noexcept {
  double sum = 0;
  for (std::size_t i = 1; i < points.rows.size(); ++i)
    sum += std::hypot(points.rows[i] - points.rows[i - 1], points.cols[i] - points.cols[i - 1]);
  return sum;
}

}  // namespace detail

using namespace detail;

namespace {

struct Line {
  HTuple rows, cols, lengths, angles;
};

// Length and angle per segment. The angle is that of the direction from a point to the next, against the column axis
// and counterclockwise as seen on the screen, from -pi to pi. A line without segments gives one of length 0, so that
// there is always a first length.
Line line_of(const Points& points, const ObjectRef& owner) {
  const std::size_t segments = std::max<std::size_t>(points.rows.size(), 2) - 1;
  Buffer<double> lengths(segments), angles(segments);
  lengths[0] = angles[0] = 0;
  for (std::size_t i = 1; i < points.rows.size(); ++i) {
    const double down = points.rows[i] - points.rows[i - 1], right = points.cols[i] - points.cols[i - 1];
    lengths[i - 1] = std::hypot(down, right);
    angles[i - 1] = std::atan2(-down, right);
  }
  return {Access::lend(points.rows, owner), Access::lend(points.cols, owner), Access::reals(std::move(lengths)),
          Access::reals(std::move(angles))};
}

double length_of(const IconicObject& object) {
  switch (object.object_class) {
    case ObjectClass::Contour:
      return length(static_cast<const Contour&>(object).points);
    case ObjectClass::Polygon:
      return length(static_cast<const Polygon&>(object).points);
    case ObjectClass::Parallels:
      return length(static_cast<const Parallels&>(object).first);
    default:
      fail("expects XLD objects, not an object of class \"" + std::string(class_name(object.object_class)) + "\"");
  }
}

Points points_from(const HTuple& rows, const HTuple& cols) {
  Points points{number_arguments(rows, "row"), number_arguments(cols, "col")};
  if (points.rows.size() != points.cols.size())
    fail(std::to_string(points.rows.size()) + " rows and " + std::to_string(points.cols.size()) +
         " columns do not match");
  return points;
}

}  // namespace

void GetContourXld(const HObject& contour, HTuple* row, HTuple* col) {
  operate("GetContourXld", [&] {
    const Points& points = single<Contour>(contour).points;
    const ObjectRef& owner = objects_of(contour).front();
    HTuple rows = Access::lend(points.rows, owner);
    *col = Access::lend(points.cols, owner);
    *row = std::move(rows);
  });
}

void GetPolygonXld(const HObject& polygon, HTuple* row, HTuple* col, HTuple* length, HTuple* phi) {
  operate("GetPolygonXld", [&] {
    Line line = line_of(single<Polygon>(polygon).points, objects_of(polygon).front());
    *row = std::move(line.rows);
    *col = std::move(line.cols);
    *length = std::move(line.lengths);
    *phi = std::move(line.angles);
  });
}

void GetParallelsXld(const HObject& parallels, HTuple* row1, HTuple* col1, HTuple* length1, HTuple* phi1, HTuple* row2,
                     HTuple* col2, HTuple* length2, HTuple* phi2) {
  operate("GetParallelsXld", [&] {
    const auto& pair = single<Parallels>(parallels);
    const ObjectRef& owner = objects_of(parallels).front();
    Line first = line_of(pair.first, owner), second = line_of(pair.second, owner);
    *row1 = std::move(first.rows);
    *col1 = std::move(first.cols);
    *length1 = std::move(first.lengths);
    *phi1 = std::move(first.angles);
    *row2 = std::move(second.rows);
    *col2 = std::move(second.cols);
    *length2 = std::move(second.lengths);
    *phi2 = std::move(second.angles);
  });
}

// One sum of segment lengths per object; of parallels that of the first line.
void LengthXld(const HObject& xld, HTuple* length) {
  operate("LengthXld", [&] {
    Buffer<double> lengths;
    for (const ObjectRef& object : objects_of(xld)) lengths.push_back(length_of(*object));
    *length = Access::reals(std::move(lengths));
  });
}

// No points make an empty contour, polygon or line.
void GenContourPolygonXld(HObject* contour, const HTuple& row, const HTuple& col) {
  operate("GenContourPolygonXld",
          [&] { *contour = make_object(std::make_shared<const Contour>(points_from(row, col))); });
}

void GenPolygonXld(HObject* polygon, const HTuple& row, const HTuple& col) {
  operate("GenPolygonXld", [&] { *polygon = make_object(std::make_shared<const Polygon>(points_from(row, col))); });
}

void GenParallelsXld(HObject* parallels, const HTuple& row1, const HTuple& col1, const HTuple& row2,
                     const HTuple& col2) {
  operate("GenParallelsXld", [&] {
    *parallels = make_object(std::make_shared<const Parallels>(points_from(row1, col1), points_from(row2, col2)));
  });
}

}  // namespace HalconCpp
