// Queries on one image, and its channels interleaved for display.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "core/access.h"
#include "core/arguments.h"
#include "core/failure.h"
#include "iconic/deferred_image.h"
#include "iconic/image.h"
#include "iconic/interleave.h"
#include "iconic/object_data.h"
#include "iconic/plane.h"
#include "iconic/region.h"

namespace HalconCpp {

using namespace detail;

namespace {

// The interface returns pixels as void*; they are shared and must not be written.
void* pointer_to(const Plane& plane) { return const_cast<std::byte*>(plane->data()); }

// Pixels that are decoded now stay as long as the image that was asked.
void* loaded_pixels(const HObject& object, const Image& image) {
  const Plane& plane = image.channels[0];
  if (!plane->is_deferred()) return pointer_to(plane);
  Plane loaded = with_pixels(plane);
  void* const pointer = pointer_to(loaded);
  Access::data(object)->keep(std::move(loaded));
  return pointer;
}

// One row after the other without gaps, so the image is one long row.
void interleave4(const std::uint8_t* b, const std::uint8_t* g, const std::uint8_t* r, const std::uint8_t* a,
                 std::uint8_t* to, std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i) {
    to[4 * i] = b[i];
    to[4 * i + 1] = g[i];
    to[4 * i + 2] = r[i];
    to[4 * i + 3] = a[i];
  }
}

// "bgr" takes the channels red, green, blue; "bgra" takes green, blue, alpha, red.
HObject interleaved_image(const Image& given, std::string_view format) {
  if (format != "bgr" && format != "bgra") fail("the pixel format " + quoted(format) + " is not \"bgr\" or \"bgra\"");
  const std::size_t count = format.size();
  const LoadedImage loaded(given);
  const Image& image = *loaded;
  if (image.type != PixelType::Byte)
    fail(std::string("expects an image of type \"byte\", not \"") + pixel_type_name(image.type) + "\"");
  if (image.channels.size() != count)
    fail(quoted(format) + " expects an image of " + std::to_string(count) + " channels, not " +
         std::to_string(image.channels.size()));
  ImageDraft draft(PixelType::Byte, image.width * static_cast<std::int32_t>(count), image.height, 1);
  const auto plane = [&](std::size_t channel) { return image.plane<std::uint8_t>(channel); };
  auto* to = draft.plane<std::uint8_t>(0);
  if (count == 3)
    join_three_bytes(plane(2), plane(1), plane(0), image.pixels(), to);
  else
    interleave4(plane(1), plane(0), plane(3), plane(2), to, image.pixels());
  return make_object(draft.finish());
}

}  // namespace

// Callers ask mostly for the type and the size. So pixels that are not decoded are not decoded for this: the pointer is
// null then, and GetImagePointer1Rect gives one.
void* HImage::GetImagePointer1(HString* type, Hlong* width, Hlong* height) const {
  return operate("GetImagePointer1", [&] {
    const Image& image = single<Image>(*this);
    void* pointer = pointer_to(image.channels[0]);
    offer_answer("GetImagePointer1", pointer);
    *type = Access::string(pixel_type_name(image.type));
    *width = image.width;
    *height = image.height;
    return pointer;
  });
}

void* HImage::GetImagePointer1Rect(Hlong* width, Hlong* height, Hlong* vertical_pitch, Hlong* horizontal_bit_pitch,
                                   Hlong* bits_per_pixel) const {
  return operate("GetImagePointer1Rect", [&] {
    const Image& image = single<Image>(*this);
    const auto bytes = static_cast<Hlong>(pixel_size(image.type));
    void* pointer = loaded_pixels(*this, image);
    offer_answer("GetImagePointer1Rect", pointer);
    *width = image.width;
    *height = image.height;
    *vertical_pitch = image.width * bytes;
    *horizontal_bit_pitch = *bits_per_pixel = 8 * bytes;
    return pointer;
  });
}

HTuple HImage::CountChannels() const {
  return operate("CountChannels", [&] {
    HTuple count = static_cast<Hlong>(single<Image>(*this).channels.size());
    offer_answer("CountChannels", count);
    return count;
  });
}

HTuple HImage::Width() const {
  return operate("Width", [&] { return HTuple(Hlong{single<Image>(*this).width}); });
}

HTuple HImage::Height() const {
  return operate("Height", [&] { return HTuple(Hlong{single<Image>(*this).height}); });
}

HRegion HImage::GetDomain() const {
  return operate("GetDomain", [&] {
    const Image& image = single<Image>(*this);
    const RunsRef runs = image.domain ? image.domain : frame_runs(image.width, image.height);
    return HRegion(make_object(std::make_shared<const Region>(runs)));
  });
}

// Every pixel is written, whatever the domain. `alpha` is only checked: both formats take all their bytes from
// the channels.
void InterleaveChannels(const HObject& image, HObject* interleaved, const HTuple& pixel_format, const HTuple& row_bytes,
                        const HTuple& alpha) {
  operate("InterleaveChannels", [&] {
    if (text_argument(row_bytes, "row_bytes") != "match") fail("row_bytes must be \"match\"");
    integer_argument(alpha, "alpha", 0, 255);
    *interleaved = interleaved_image(single<Image>(image), text_argument(pixel_format, "the pixel format"));
  });
}

}  // namespace HalconCpp
