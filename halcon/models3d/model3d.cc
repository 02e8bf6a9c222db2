#include "models3d/model3d.h"

#include <cmath>
#include <limits>

#include "dicts/entry_queries.h"

namespace HalconCpp::detail {

namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();

struct Range {
  double low = infinite;
  double high = -infinite;
  void add(double value) noexcept {
    if (value < low) low = value;
    if (value > high) high = value;
  }
};

// Sensors mark points that they did not see by NaN: such coordinates are passed over. NaN when nothing is left.
Range range_of(const HTuple& coordinates) {
  Range range;
  const Hlong count = coordinates.Length();
  if (Access::kind(coordinates) == TupleKind::Array && Access::array(coordinates).kind == ArrayKind::Reals) {
    const auto* values = static_cast<const double*>(Access::array(coordinates).elements);
    for (Hlong i = 0; i < count; ++i) range.add(values[i]);
  } else {
    for (Hlong i = 0; i < count; ++i) range.add(coordinates[i].D());
  }
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

Model3dData::Model3dData(Model3dParts parts) : parts_(std::move(parts)) {
  const bool has_primitive = parts_.primitive_type.Length() > 0;
  show("num_points", parts_.x.Length());
  show("num_triangles", parts_.triangles.Length() / 3);
  show("num_faces", parts_.faces);
  show("has_point_normals", yes_or_no(parts_.nx.Length() > 0));
  show("has_point_colors", yes_or_no(parts_.red.Length() > 0));
  show("has_faces", yes_or_no(parts_.faces > 0));
  show("has_primitive_data", yes_or_no(has_primitive));
  show("primitive_type", has_primitive ? parts_.primitive_type : HTuple("none"));
  if (has_primitive) show("primitive_parameter", parts_.primitive_values);
  if (has_primitive || parts_.x.Length() > 0) show_extent();
  show_points();
}

HTuple Model3dData::parameter(const HTuple& name) const { return tuple_entry(entries_, name); }

void Model3dData::show(const char* key, HTuple value) { entries_.set(Access::text_tuple(key), std::move(value)); }

void Model3dData::show_extent() {
  Range x, y, z;
  if (parts_.x.Length() > 0) {
    x = range_of(parts_.x);
    y = range_of(parts_.y);
    z = range_of(parts_.z);
  } else {
    const auto value = [&](Hlong i) { return parts_.primitive_values[i].D(); };
    const double radius = value(3);
    x = {value(0) - radius, value(0) + radius};
    y = {value(1) - radius, value(1) + radius};
    z = {value(2) - radius, value(2) + radius};
  }
  const auto middle = [](const Range& range) { return range.low / 2 + range.high / 2; };
  show("center", tuple_of({middle(x), middle(y), middle(z)}));
  show("diameter_axis_aligned_bounding_box", std::hypot(x.high - x.low, y.high - y.low, z.high - z.low));
  show("bounding_box1", tuple_of({x.low, y.low, z.low, x.high, y.high, z.high}));
}

void Model3dData::show_points() {
  const std::pair<const char*, const HTuple*> columns[] = {
      {"point_coord_x", &parts_.x},     {"point_coord_y", &parts_.y},         {"point_coord_z", &parts_.z},
      {"point_normal_x", &parts_.nx},   {"point_normal_y", &parts_.ny},       {"point_normal_z", &parts_.nz},
      {"point_color_red", &parts_.red}, {"point_color_green", &parts_.green}, {"point_color_blue", &parts_.blue},
      {"triangles", &parts_.triangles}};
  for (const auto& [key, values] : columns)
    if (values->Length() > 0) show(key, *values);
}

}  // namespace HalconCpp::detail
