#include "models3d/model3d.h"

#include <cmath>
#include <initializer_list>
#include <limits>
#include <string>
#include <utility>

#include "core/access.h"
#include "core/buffer.h"
#include "core/failure.h"
#include "dicts/entry_queries.h"

namespace HalconCpp::detail {

namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();

bool holds_only(const HTuple& tuple, TupleKind kind) {
  return tuple.Length() == 0 || Access::common_kind(tuple) == kind;
}

void check_columns(std::initializer_list<const HTuple*> columns, TupleKind kind, Hlong length) {
  for (const HTuple* column : columns)
    if (column->Length() != length || !holds_only(*column, kind)) fail("the columns of a 3D model do not fit");
}

// Integers from 0 to below `end`.
void check_range(const HTuple& integers, Hlong end) {
  if (!holds_only(integers, TupleKind::Integer)) fail("a 3D model has numbers of the wrong type");
  for (Hlong i = 0; i < integers.Length(); ++i)
    if (const Hlong value = integers[i].L(); value < 0 || value >= end)
      fail("a 3D model has " + std::to_string(value) + " where it can only have 0 to " + std::to_string(end - 1));
}

struct Range {
  double low = infinite;
  double high = -infinite;
  void add(double value) noexcept {
    if (value < low) low = value;
    if (value > high) high = value;
  }
};

// Sensors mark points that they did not see by NaN. Such coordinates do not count; the range is NaN when none is left.
Range range_of(const HTuple& coordinates) {
  Range range;
  for (Hlong i = 0; i < coordinates.Length(); ++i) range.add(coordinates[i].D());
  if (range.low > range.high) range.low = range.high = std::numeric_limits<double>::quiet_NaN();
  return range;
}

HTuple tuple_of(std::initializer_list<double> values) {
  Buffer<double> buffer;
  buffer.append(values.begin(), values.size());
  return Access::reals(std::move(buffer));
}

const char* yes_or_no(bool yes) noexcept { return yes ? "true" : "false"; }

}  // namespace

void check(const Model3dParts& model) {
  const Hlong points = model.x.Length();
  check_columns({&model.x, &model.y, &model.z}, TupleKind::Real, points);
  check_columns({&model.nx, &model.ny, &model.nz}, TupleKind::Real, model.nx.Length() > 0 ? points : 0);
  check_columns({&model.red, &model.green, &model.blue}, TupleKind::Integer, model.red.Length() > 0 ? points : 0);
  for (const HTuple* color : {&model.red, &model.green, &model.blue}) check_range(*color, 256);
  check_range(model.triangles, points);
  if (model.triangles.Length() % 3 != 0 || model.faces < 0) fail("the faces of a 3D model are incomplete");
  const Hlong primitives = model.primitive_type.Length();
  if (primitives > 1 || !holds_only(model.primitive_type, TupleKind::String))
    fail("a 3D model has a primitive of an unknown type");
  check_columns({&model.primitive_values}, TupleKind::Real, primitives * 4);
}

Model3dData::Model3dData(Model3dParts parts) : parts_(std::move(parts)) {
  const bool has_primitive = parts_.primitive_type.Length() > 0;
  add("num_points", parts_.x.Length());
  add("num_triangles", parts_.triangles.Length() / 3);
  add("num_faces", parts_.faces);
  add("has_point_normals", yes_or_no(parts_.nx.Length() > 0));
  add("has_point_colors", yes_or_no(parts_.red.Length() > 0));
  add("has_faces", yes_or_no(parts_.faces > 0));
  add("has_primitive_data", yes_or_no(has_primitive));
  add("primitive_type", has_primitive ? parts_.primitive_type : HTuple("none"));
  if (has_primitive) add("primitive_parameter", parts_.primitive_values);
  if (has_primitive || parts_.x.Length() > 0) add_extent();
  add_points();
}

HTuple Model3dData::parameter(const HTuple& key) const { return tuple_entry(entries_, key); }

void Model3dData::add(const char* key, HTuple value) { entries_.set(Access::text_tuple(key), std::move(value)); }

void Model3dData::add_extent() {
  Range x, y, z;
  if (parts_.x.Length() > 0) {
    x = range_of(parts_.x);
    y = range_of(parts_.y);
    z = range_of(parts_.z);
  } else {
    const double radius = parts_.primitive_values[3].D();
    const auto around = [&](Hlong i) {
      const double center = parts_.primitive_values[i].D();
      return Range{center - radius, center + radius};
    };
    x = around(0);
    y = around(1);
    z = around(2);
  }
  const auto middle = [](const Range& range) { return range.low / 2 + range.high / 2; };
  add("center", tuple_of({middle(x), middle(y), middle(z)}));
  add("diameter_axis_aligned_bounding_box", std::hypot(x.high - x.low, y.high - y.low, z.high - z.low));
  add("bounding_box1", tuple_of({x.low, y.low, z.low, x.high, y.high, z.high}));
}

void Model3dData::add_points() {
  const std::pair<const char*, const HTuple*> columns[] = {
      {"point_coord_x", &parts_.x},     {"point_coord_y", &parts_.y},         {"point_coord_z", &parts_.z},
      {"point_normal_x", &parts_.nx},   {"point_normal_y", &parts_.ny},       {"point_normal_z", &parts_.nz},
      {"point_color_red", &parts_.red}, {"point_color_green", &parts_.green}, {"point_color_blue", &parts_.blue},
      {"triangles", &parts_.triangles}};
  for (const auto& [key, values] : columns)
    if (values->Length() > 0) add(key, *values);
}

}  // namespace HalconCpp::detail
