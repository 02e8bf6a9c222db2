#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "container/parts.h"
#include "container/stream.h"
#include "core/failure.h"
#include "core/memory_limit.h"
#include "iconic/deferred_image.h"
#include "iconic/image.h"
#include "iconic/object_data.h"
#include "iconic/plane.h"
#include "iconic/region.h"
#include "iconic/xld.h"

namespace HalconCpp::detail::container {

namespace {

// The least that an object takes: its class and a count.
constexpr std::size_t least_object = 9;
// What an object takes in memory without its points, runs or pixels.
constexpr std::size_t object_bytes = 200;

void write_runs(Writer& out, const Runs& runs) {
  out.count(runs.size());
  out.values(runs.rows);
  out.values(runs.begins);
  out.values(runs.ends);
}

void write_points(Writer& out, const Points& points) {
  out.count(points.rows.size());
  out.values(points.rows);
  out.values(points.cols);
}

void write_image(Writer& out, const Image& image) {
  out.value(image.type);
  out.value(image.width);
  out.value(image.height);
  out.value(static_cast<std::uint32_t>(image.channels.size()));
  out.value(static_cast<std::uint8_t>(image.domain != nullptr));
  if (image.domain) write_runs(out, *image.domain);
  for (const Plane& plane : image.channels)
    out.write(with_pixels(plane)->data(), image.pixels() * pixel_size(image.type));
}

void write_object(Writer& out, const IconicObject& object) {
  out.value(object.object_class);
  switch (object.object_class) {
    case ObjectClass::Image:
      return write_image(out, static_cast<const Image&>(object));
    case ObjectClass::Region:
      return write_runs(out, *static_cast<const Region&>(object).runs);
    case ObjectClass::Contour:
      return write_points(out, static_cast<const Contour&>(object).points);
    case ObjectClass::Polygon:
      return write_points(out, static_cast<const Polygon&>(object).points);
    case ObjectClass::Parallels:
      write_points(out, static_cast<const Parallels&>(object).first);
      return write_points(out, static_cast<const Parallels&>(object).second);
  }
}

void check_order(const Runs& runs) {
  for (std::size_t i = 0; i < runs.size(); ++i) {
    const bool follows = i == 0 || runs.rows[i - 1] < runs.rows[i] ||
                         (runs.rows[i - 1] == runs.rows[i] && runs.ends[i - 1] < runs.begins[i]);
    if (!follows || runs.begins[i] > runs.ends[i]) fail("the runs of a region are out of order");
  }
}

RunsRef read_runs(Reader& in) {
  const std::size_t count = in.count(3 * sizeof(std::int32_t));
  charge_memory(count * 3 * sizeof(std::int32_t));
  Runs runs;
  for (auto* values : {&runs.rows, &runs.begins, &runs.ends}) {
    values->resize(count);
    in.fill(*values);
  }
  check_order(runs);
  return normalized(std::move(runs));
}

Points read_points(Reader& in) {
  const std::size_t count = in.count(2 * sizeof(double));
  charge_memory(count * 2 * sizeof(double));
  Points points;
  for (auto* values : {&points.rows, &points.cols}) {
    values->resize(count);
    in.fill(*values);
  }
  return points;
}

RunsRef read_domain(Reader& in, std::int32_t width, std::int32_t height) {
  RunsRef domain = read_runs(in);
  for (std::size_t i = 0; i < domain->size(); ++i)
    if (domain->rows[i] < 0 || domain->rows[i] >= height || domain->begins[i] < 0 || domain->ends[i] >= width)
      fail("the domain of an image reaches outside it");
  return domain;
}

ObjectRef read_image(Reader& in) {
  const auto type = in.value<PixelType>();
  const auto width = in.value<std::uint32_t>();
  const auto height = in.value<std::uint32_t>();
  const auto channels = in.value<std::uint32_t>();
  if (type > PixelType::Real) fail("holds an image of an unknown pixel type");
  check_image_size(width, height, channels, type, in.left());
  const auto w = static_cast<std::int32_t>(width);
  const auto h = static_cast<std::int32_t>(height);
  RunsRef domain = in.value<std::uint8_t>() != 0 ? read_domain(in, w, h) : nullptr;
  if (std::uint64_t{width} * height * channels * pixel_size(type) > in.left())
    fail("an image of " + std::to_string(width) + " x " + std::to_string(height) + " pixels is cut short");
  ImageDraft draft(type, w, h, channels);
  for (std::size_t i = 0; i < channels; ++i) in.read(draft.plane<std::byte>(i), draft.plane_bytes());
  return draft.finish(std::move(domain));
}

ObjectRef read_object(Reader& in) {
  switch (in.value<ObjectClass>()) {
    case ObjectClass::Image:
      return read_image(in);
    case ObjectClass::Region:
      return std::make_shared<const Region>(read_runs(in));
    case ObjectClass::Contour:
      return std::make_shared<const Contour>(read_points(in));
    case ObjectClass::Polygon:
      return std::make_shared<const Polygon>(read_points(in));
    case ObjectClass::Parallels: {
      Points first = read_points(in);
      return std::make_shared<const Parallels>(std::move(first), read_points(in));
    }
  }
  fail("holds an object of an unknown class");
}

}  // namespace

void write_objects(Writer& out, const HObject& objects) {
  const auto& list = objects_of(objects);
  out.count(list.size());
  for (const ObjectRef& object : list) write_object(out, *object);
}

HObject read_objects(Reader& in) {
  const std::size_t count = in.count(least_object);
  charge_memory(count * object_bytes);
  std::vector<ObjectRef> objects(count);
  for (ObjectRef& object : objects) object = read_object(in);
  return make_object(std::move(objects));
}

}  // namespace HalconCpp::detail::container
