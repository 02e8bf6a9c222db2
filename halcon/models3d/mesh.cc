#include "models3d/mesh.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <memory>
#include <span>
#include <string>
#include <utility>

#include "core/access.h"
#include "core/failure.h"
#include "core/limits.h"

namespace HalconCpp::detail {

namespace {

HTuple integers(Buffer<std::int32_t> values) {
  const auto owner = std::make_shared<Buffer<std::int32_t>>(std::move(values));
  return Access::lend(std::span<const std::int32_t>(*owner), owner);
}

// A level that is NaN becomes 0.
std::int32_t level(float value) noexcept {
  return value > 0 ? static_cast<std::int32_t>(std::min(value, 255.0f) + 0.5f) : 0;
}

HTuple levels(const Buffer<float>& values, float scale) {
  Buffer<std::int32_t> result(values.size());
  std::transform(values.begin(), values.end(), result.begin(), [=](float value) { return level(value * scale); });
  return integers(std::move(result));
}

bool exceeds_one(const Buffer<float>& values) noexcept {
  return std::any_of(values.begin(), values.end(), [](float value) { return value > 1; });
}

std::string shortest_text(double value) {
  char text[32];
  return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
}

}  // namespace

void Mesh::add_corner(double point) {
  if (!(point >= 0 && point < limits::model_points) || point != std::floor(point))
    fail("a face names point " + shortest_text(point) + ", which no model can have");
  const auto corner = static_cast<std::int32_t>(point);
  highest_ = std::max(highest_, corner);
  if (corners_ == 0) first_ = corner;
  if (corners_ >= 2)
    for (const std::int32_t each : {first_, previous_, corner}) triangles_.push_back(each);
  previous_ = corner;
  ++corners_;
}

Model3dParts Mesh::finish() {
  const std::size_t points = x.size();
  if (highest_ >= 0 && static_cast<std::size_t>(highest_) >= points)
    fail("a face names point " + std::to_string(highest_) + " (counted from 0), but there are only " +
         std::to_string(points) + " points");
  Model3dParts parts;
  parts.x = Access::reals(std::move(x));
  parts.y = Access::reals(std::move(y));
  parts.z = Access::reals(std::move(z));
  if (nx.size() == points && ny.size() == points && nz.size() == points) {
    parts.nx = Access::reals(std::move(nx));
    parts.ny = Access::reals(std::move(ny));
    parts.nz = Access::reals(std::move(nz));
  }
  if (red.size() == points && green.size() == points && blue.size() == points) {
    const bool bytes = exceeds_one(red) || exceeds_one(green) || exceeds_one(blue);
    const float scale = color_scale > 0 ? color_scale : bytes ? 1.0f : 255.0f;
    parts.red = levels(red, scale);
    parts.green = levels(green, scale);
    parts.blue = levels(blue, scale);
  }
  parts.triangles = integers(std::move(triangles_));
  parts.faces = faces_;
  return parts;
}

void check_count(std::string_view things, std::uint64_t count, std::uint64_t bytes_each, std::uint64_t left) {
  if (count > limits::model_points)
    fail("declares " + std::to_string(count) + " " + std::string(things) + ", more than the limit of " +
         std::to_string(limits::model_points));
  if (count * bytes_each > left + 1)
    fail("declares " + std::to_string(count) + " " + std::string(things) + ", but only " + std::to_string(left) +
         " bytes follow");
}

}  // namespace HalconCpp::detail
