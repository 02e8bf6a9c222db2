#include <algorithm>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "HalconCpp.h"
#include "iconic/description.h"
#include "platform/text.h"
#include "tree/objects.h"

namespace quovel {

using HalconCpp::HImage;
using HalconCpp::Hlong;
using HalconCpp::HObject;

namespace {

struct ImageInfo {
  Hlong width = 0;
  Hlong height = 0;
  Hlong channels = 0;
  std::u16string type;
};

ImageInfo image_info(const HImage& image) {
  ImageInfo info;
  HalconCpp::HString type;
  image.GetImagePointer1(&type, &info.width, &info.height);
  info.type = from_halcon(type);
  info.channels = image.CountChannels()[0].L();
  return info;
}

HImage image_at(const HObject& object, std::int32_t index, std::int32_t count) {
  return HImage(count < 2 ? object : select_object(object, index));
}

std::u16string channel_text(Hlong channels) {
  std::u16string text;
  append_integer(text, channels);
  return text += u"ch";
}

// The one text, or all of them in brackets.
template <class Texts>
std::u16string one_or_list(const Texts& texts) {
  if (texts.size() == 1) return *texts.begin();
  std::u16string list;
  for (const std::u16string& text : texts) (list += list.empty() ? u"[" : u", ") += text;
  return list += u']';
}

std::u16string size_text(const std::vector<ImageInfo>& images) {
  const ImageInfo& first = images.front();
  std::u16string text;
  append_integer(text, first.width);
  append_integer(text += u'x', first.height);
  const bool same = std::all_of(images.begin(), images.end(), [&](const ImageInfo& image) {
    return image.width == first.width && image.height == first.height;
  });
  return same ? text : text += u" (first)";
}

std::u16string channels_text(const std::vector<ImageInfo>& images) {
  std::set<Hlong> counts;
  for (const ImageInfo& image : images) counts.insert(image.channels);
  std::vector<std::u16string> texts;
  for (const Hlong count : counts) texts.push_back(channel_text(count));
  return one_or_list(texts);
}

std::u16string types_text(const std::vector<ImageInfo>& images) {
  std::set<std::u16string> types;
  for (const ImageInfo& image : images) types.insert(image.type);
  return one_or_list(types);
}

// What the first image's domain adds to the description; empty when it covers the frame. When HALCON cannot tell the
// domain, only this part is missing.
std::u16string domain_text(const HImage& image, const ImageInfo& info) try {
  const auto domain = partial_domain(image, info.width, info.height);
  return domain ? u", domain: " + describe_region(*domain) : std::u16string();
} catch (const HalconCpp::HException&) {
  return {};
}

}  // namespace

std::u16string describe_image_objects(const HObject& object, std::int32_t count) {
  const HImage first = image_at(object, 0, count);
  std::vector<ImageInfo> images{image_info(first)};
  for (std::int32_t i = 1; i < count; ++i) images.push_back(image_info(image_at(object, i, count)));
  return size_text(images) + u", " + channels_text(images) + u", " + types_text(images) +
         domain_text(first, images.front());
}

}  // namespace quovel
