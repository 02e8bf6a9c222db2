// The operators that make images and regroup their channels. Results share the planes of their operands.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "core/arguments.h"
#include "core/failure.h"
#include "core/limits.h"
#include "iconic/image.h"
#include "iconic/object_data.h"
#include "iconic/plane.h"
#include "iconic/region.h"

namespace HalconCpp {

namespace detail {

ImageRef with_domain(const Image& image, RunsRef domain) {
  if (domain && area(*domain) == static_cast<Hlong>(image.pixels())) domain = nullptr;
  return std::make_shared<const Image>(image.type, image.width, image.height, image.channels, std::move(domain));
}

}  // namespace detail

using namespace detail;

namespace {

ImageDraft one_channel(const HTuple& type, const HTuple& width, const HTuple& height) {
  const PixelType pixel_type = pixel_type_of(text_argument(type, "the pixel type"));
  const Hlong columns = integer_argument(width, "the width", 1, limits::image_side);
  const Hlong rows = integer_argument(height, "the height", 1, limits::image_side);
  check_image_size(static_cast<std::uint64_t>(columns), static_cast<std::uint64_t>(rows), 1, pixel_type, UINT64_MAX);
  return ImageDraft(pixel_type, static_cast<std::int32_t>(columns), static_cast<std::int32_t>(rows), 1);
}

RunsRef common_domain(const RunsRef& a, const RunsRef& b) {
  if (!a || !b) return a ? a : b;
  return intersection(*a, *b);
}

std::string shape_of(const Image& image) {
  return std::to_string(image.width) + " x " + std::to_string(image.height) + " pixels of type " +
         pixel_type_name(image.type);
}

void require_same_shape(const Image& a, const Image& b) {
  if (a.type != b.type || a.width != b.width || a.height != b.height)
    fail("the images differ: " + shape_of(a) + " and " + shape_of(b));
}

// All channels of the operands in order; the domain is the intersection of theirs.
HObject composed(std::initializer_list<const HObject*> operands) {
  const Image& first = single<Image>(**operands.begin());
  std::vector<Plane> planes;
  RunsRef domain;
  for (const HObject* operand : operands) {
    const Image& image = single<Image>(*operand);
    require_same_shape(first, image);
    planes.insert(planes.end(), image.channels.begin(), image.channels.end());
    domain = common_domain(domain, image.domain);
  }
  check_image_size(static_cast<std::uint64_t>(first.width), static_cast<std::uint64_t>(first.height), planes.size(),
                   first.type, UINT64_MAX);
  return make_object(
      std::make_shared<const Image>(first.type, first.width, first.height, std::move(planes), std::move(domain)));
}

HObject channel_of(const Image& image, std::size_t channel) {
  return make_object(std::make_shared<const Image>(image.type, image.width, image.height,
                                                   std::vector<Plane>{image.channels[channel]}, image.domain));
}

// All outputs are made before the first is assigned: an output may be the operand.
void decompose(const HObject& image, std::initializer_list<HObject*> outputs) {
  const Image& source = single<Image>(image);
  if (source.channels.size() != outputs.size())
    fail("expects an image of " + std::to_string(outputs.size()) + " channels, not " +
         std::to_string(source.channels.size()));
  std::vector<HObject> channels;
  for (std::size_t i = 0; i < outputs.size(); ++i) channels.push_back(channel_of(source, i));
  auto channel = channels.begin();
  for (HObject* output : outputs) *output = std::move(*channel++);
}

}  // namespace

// All pixels are 0.
void GenImageConst(HObject* image, const HTuple& type, const HTuple& width, const HTuple& height) {
  operate("GenImageConst", [&] {
    ImageDraft draft = one_channel(type, width, height);
    std::memset(draft.plane<std::byte>(0), 0, draft.plane_bytes());
    *image = make_object(draft.finish());
  });
}

void GenImage1(HObject* image, const HTuple& type, const HTuple& width, const HTuple& height, const void* pointer) {
  operate("GenImage1", [&] {
    if (!pointer) fail("the pixel pointer is null");
    ImageDraft draft = one_channel(type, width, height);
    std::memcpy(draft.plane<std::byte>(0), pointer, draft.plane_bytes());
    *image = make_object(draft.finish());
  });
}

void Compose2(const HObject& c1, const HObject& c2, HObject* image) {
  operate("Compose2", [&] { *image = composed({&c1, &c2}); });
}

void Compose3(const HObject& c1, const HObject& c2, const HObject& c3, HObject* image) {
  operate("Compose3", [&] { *image = composed({&c1, &c2, &c3}); });
}

void Compose4(const HObject& c1, const HObject& c2, const HObject& c3, const HObject& c4, HObject* image) {
  operate("Compose4", [&] { *image = composed({&c1, &c2, &c3, &c4}); });
}

void AppendChannel(const HObject& multi, const HObject& image, HObject* result) {
  operate("AppendChannel", [&] { *result = composed({&multi, &image}); });
}

void AccessChannel(const HObject& multi, HObject* image, const HTuple& channel) {
  operate("AccessChannel", [&] {
    const Image& source = single<Image>(multi);
    const Hlong number = integer_argument(channel, "the channel", 1, static_cast<Hlong>(source.channels.size()));
    *image = channel_of(source, static_cast<std::size_t>(number - 1));
  });
}

void Decompose3(const HObject& image, HObject* c1, HObject* c2, HObject* c3) {
  operate("Decompose3", [&] { decompose(image, {c1, c2, c3}); });
}

void Decompose4(const HObject& image, HObject* c1, HObject* c2, HObject* c3, HObject* c4) {
  operate("Decompose4", [&] { decompose(image, {c1, c2, c3, c4}); });
}

// The new domain is the intersection with the region; frame and pixels stay.
void ReduceDomain(const HObject& image, const HObject& region, HObject* reduced) {
  operate("ReduceDomain", [&] {
    const Image& source = single<Image>(image);
    const RunsRef inside = clip(single<Region>(region).runs, source.width, source.height);
    *reduced = make_object(with_domain(source, common_domain(source.domain, inside)));
  });
}

}  // namespace HalconCpp
