#include "tree/objects.h"

namespace quovel {

using HalconCpp::Hlong;
using HalconCpp::HObject;
using HalconCpp::HRegion;
using HalconCpp::HTuple;

HObject held_object(const Node& node) { return node.rare() ? node.rare()->held_object : HObject(); }

HObject select_object(const HObject& objects, Hlong index) {
  HObject selected;
  HalconCpp::SelectObj(objects, &selected, index + 1);
  return selected;
}

std::optional<HRegion> partial_domain(const HalconCpp::HImage& image, Hlong width, Hlong height) {
  HRegion domain = image.GetDomain();
  HTuple area, row, column;
  HalconCpp::AreaCenter(domain, &area, &row, &column);
  if (area.Length() == 0 || area[0].L() >= width * height) return std::nullopt;
  return domain;
}

}  // namespace quovel
