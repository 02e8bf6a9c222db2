// One-line descriptions of iconic objects. Lengths and coordinates are in pixels, rows before columns. An HException
// means that HALCON cannot tell.
#ifndef QUOVEL_ICONIC_DESCRIPTION_H
#define QUOVEL_ICONIC_DESCRIPTION_H

#include <cstdint>
#include <string>
#include <string_view>

#include "HalconCpp.h"

namespace quovel {

// One or more images: size, channels, pixel type, and the first one's domain where that is smaller than its frame. What
// differs between them is marked " (first)" or listed in brackets.
std::u16string describe_image_objects(const HalconCpp::HObject& object, std::int32_t count);

// One object of the class; empty for images and for classes without a description.
std::u16string describe_object(std::u16string_view object_class, const HalconCpp::HObject& object);

std::u16string describe_region(const HalconCpp::HObject& region);
std::u16string describe_parallels(const HalconCpp::HObject& parallels);
// "label: count; length: 0.00", the length in pixels.
std::u16string describe_points_and_length(std::u16string_view label, HalconCpp::Hlong count, double length);

}  // namespace quovel

#endif
