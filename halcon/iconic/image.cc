#include "iconic/image.h"

#include <cstring>
#include <string>
#include <type_traits>
#include <utility>

#include "core/failure.h"
#include "core/limits.h"

namespace HalconCpp::detail {

ImageDraft::ImageDraft(PixelType type, std::int32_t width, std::int32_t height, std::size_t channels)
    : type_(type), width_(width), height_(height) {
  const std::size_t bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * pixel_size(type);
  planes_.reserve(channels);
  for (std::size_t i = 0; i < channels; ++i) planes_.emplace_back(bytes);
}

namespace {

// Planes of a few bytes would take far more memory than their pixels: those of one image share two allocations.
constexpr std::size_t small_plane = 256;

std::vector<Plane> joined_planes(const std::vector<Buffer<std::byte>>& from) {
  // By way of a unique pointer: given a plain one, the shared_ptr of GCC 12 frees the planes twice when memory runs
  // out.
  const std::shared_ptr<PixelPlane[]> joined = std::make_unique<PixelPlane[]>(from.size());
  Buffer<std::byte> pixels(from.size() * from[0].size());
  std::vector<Plane> planes;
  planes.reserve(from.size());
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::byte* to = pixels.data() + i * from[i].size();
    std::memcpy(to, from[i].data(), from[i].size());
    joined[i].show(to);
    planes.emplace_back(joined, &joined[i]);
  }
  joined[0].hold(std::move(pixels));
  return planes;
}

std::vector<Plane> separate_planes(std::vector<Buffer<std::byte>>& from) {
  std::vector<Plane> planes;
  planes.reserve(from.size());
  for (auto& plane : from) planes.push_back(std::make_shared<const PixelPlane>(std::move(plane)));
  return planes;
}

}  // namespace

std::shared_ptr<const Image> ImageDraft::finish(RunsRef domain) {
  const bool join = planes_.size() > 1 && plane_bytes() <= small_plane;
  std::vector<Plane> planes = join ? joined_planes(planes_) : separate_planes(planes_);
  return std::make_shared<const Image>(type_, width_, height_, std::move(planes), std::move(domain));
}

void check_image_size(std::uint64_t width, std::uint64_t height, std::uint64_t channels, PixelType type,
                      std::uint64_t file_bytes) {
  const std::string size = std::to_string(width) + " x " + std::to_string(height) + " pixels";
  if (width == 0 || height == 0) fail("an image of " + size + " holds nothing");
  if (width > limits::image_side || height > limits::image_side)
    fail("an image of " + size + " is larger than the " + std::to_string(limits::image_side) +
         " rows and columns that are read");
  if (channels == 0 || channels > limits::image_channels)
    fail(std::to_string(channels) + " channels; 1 to " + std::to_string(limits::image_channels) + " are read");
  // At most 2^20 * 2^20 * 2^12 * 2^3: fits.
  const std::uint64_t bytes = width * height * channels * pixel_size(type);
  if (bytes > limits::image_bytes)
    fail("an image of " + size + " and " + std::to_string(channels) + " channels takes " + std::to_string(bytes) +
         " bytes; at most " + std::to_string(limits::image_bytes) + " are read");
  if (bytes > limits::decoded_free && bytes / limits::decoded_per_byte > file_bytes)
    fail("declares " + size + " and " + std::to_string(channels) + " channels, more than a file of " +
         std::to_string(file_bytes) + " bytes can hold");
}

}  // namespace HalconCpp::detail
