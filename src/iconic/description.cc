#include "iconic/description.h"

#include "platform/text.h"

namespace quovel {

using HalconCpp::Hlong;
using HalconCpp::HObject;
using HalconCpp::HTuple;

namespace {

double length_of(const HObject& xld) {
  HTuple length;
  HalconCpp::LengthXld(xld, &length);
  return length[0].D();
}

std::u16string describe_contour(const HObject& contour) {
  HTuple rows, cols;
  HalconCpp::GetContourXld(contour, &rows, &cols);
  return describe_points_and_length(u"contour points", rows.Length(), length_of(contour));
}

std::u16string describe_polygon(const HObject& polygon) {
  HTuple rows, cols, lengths, angles;
  HalconCpp::GetPolygonXld(polygon, &rows, &cols, &lengths, &angles);
  return describe_points_and_length(u"points", rows.Length(), length_of(polygon));
}

}  // namespace

std::u16string describe_points_and_length(std::u16string_view label, Hlong count, double length) {
  std::u16string text(label);
  append_integer(text += u": ", count);
  append_fixed(text += u"; length: ", length, 2);
  return text;
}

std::u16string describe_region(const HObject& region) {
  HTuple area, row, column;
  HalconCpp::AreaCenter(region, &area, &row, &column);
  std::u16string text = u"area: ";
  append_integer(text, area[0].L());
  if (area[0].L() == 0) return text;
  append_fixed(text += u"; center: ", row[0].D(), 1);
  append_fixed(text += u", ", column[0].D(), 1);
  return text;
}

std::u16string describe_parallels(const HObject& parallels) {
  HTuple row1, col1, length1, phi1, row2, col2, length2, phi2;
  HalconCpp::GetParallelsXld(parallels, &row1, &col1, &length1, &phi1, &row2, &col2, &length2, &phi2);
  return u"first line: " + describe_points_and_length(u"points", row1.Length(), length1[0].D()) + u" / second line: " +
         describe_points_and_length(u"points", row2.Length(), length2[0].D());
}

std::u16string describe_object(std::u16string_view object_class, const HObject& object) {
  if (object_class == u"region") return describe_region(object);
  if (object_class == u"xld_cont") return describe_contour(object);
  if (object_class == u"xld_poly") return describe_polygon(object);
  if (object_class == u"xld_parallel") return describe_parallels(object);
  return {};
}

}  // namespace quovel
