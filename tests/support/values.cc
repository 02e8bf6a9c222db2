#include "support/values.h"

#include <bit>
#include <charconv>
#include <cmath>

#include "HalconCreate.h"

namespace test {

using namespace HalconCpp;

HTuple new_dict(std::initializer_list<std::pair<HTuple, HTuple>> entries) {
  HTuple dict;
  CreateDict(&dict);
  for (const auto& [key, value] : entries) SetDictTuple(dict, key, value);
  return dict;
}

HTuple nested_dicts(int depth) {
  HTuple dict = new_dict();
  for (int i = 1; i < depth; ++i) dict = new_dict({{"in", i % 2 ? dict : tuple({dict, 1})}});
  return dict;
}

HTuple new_matrix(const HTuple& rows, const HTuple& columns, const HTuple& values) {
  HTuple matrix;
  CreateMatrix(rows, columns, values, &matrix);
  return matrix;
}

HTuple new_dl_model(const HTuple& dict) {
  HTuple model;
  CreateDlModel(dict, &model);
  return model;
}

HTuple sample_points() {
  HTuple points;
  GenObjectModel3dFromPoints(tuple({0.0, 1.0}), tuple({0.0, 1.0}), tuple({0.0, 1.0}), &points);
  return points;
}

HTuple sample_dict() {
  HTuple sphere;
  GenSphereObjectModel3d(0, 0, 0, 1, &sphere);
  const HTuple inner = new_dict({{1, 2.5}, {"s", "t"}, {0.5, HTuple()}}), matrix = new_matrix(2, 2, 1.5);
  HTuple dict = new_dict({{"dict", inner},
                          {"array", tuple({inner, matrix, 1, "x", 0.5})},
                          {"matrix", matrix},
                          {"points", sample_points()},
                          {"sphere", sphere},
                          {"mixed", tuple({1, "s", 1.5})},
                          {"integers", tuple({1, 1 << 20, -3})},
                          {"reals", tuple({0.5, 1.5})},
                          {"texts", tuple({"a", "b"})},
                          {"none", HTuple()}});
  SetDictObject(concat({ramp(2, 2), rectangle(0, 0, 1, 1)}), dict, "objects");
  return dict;
}

HTuple read_dict(const std::string& path) {
  HDict dict;
  dict.ReadDict(path.c_str(), HTuple(), HTuple());
  return HTuple(dict);
}

HTuple read_model3d(const std::string& path) {
  HTuple model, status;
  ReadObjectModel3d(path.c_str(), "m", HTuple(), HTuple(), &model, &status);
  return model;
}

HTuple model3d_param(const HTuple& model, const HTuple& names) {
  HTuple values;
  GetObjectModel3dParams(model, names, &values);
  return values;
}

HTuple read_dl_model(const std::string& path) {
  HDlModel model;
  model.ReadDlModel(path.c_str());
  return HTuple(model);
}

HObject read_objects(const std::string& path) {
  HObject objects;
  ReadObject(&objects, path.c_str());
  return objects;
}

HObject read_image(const HTuple& path) {
  HObject image;
  ReadImage(&image, path);
  return image;
}

namespace {

template <class T, class Out>
std::vector<Out> copy(const Plane& plane) {
  const auto* const first = static_cast<const T*>(plane.first);
  return {first, first + plane.width * plane.height};
}

template <class Out>
std::vector<Out> values(const Plane& plane) {
  if (plane.type == "int1") return copy<std::int8_t, Out>(plane);
  if (plane.type == "int2") return copy<std::int16_t, Out>(plane);
  if (plane.type == "uint2") return copy<std::uint16_t, Out>(plane);
  if (plane.type == "int4") return copy<std::int32_t, Out>(plane);
  if (plane.type == "int8") return copy<std::int64_t, Out>(plane);
  if (plane.type == "real") return copy<float, Out>(plane);
  return copy<std::uint8_t, Out>(plane);
}

template <class T>
std::string digits(T value, int base = 10) {
  char text[32];
  if constexpr (std::is_floating_point_v<T>)
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
  else
    return {text, std::to_chars(text, text + sizeof text, value, base).ptr};
}

// The shortest digits that read back to the same bits; for a NaN, its bits.
std::string exact(float value) {
  return std::isnan(value) ? "nan" + digits(std::bit_cast<std::uint32_t>(value), 16) : digits(value);
}
std::string exact(double value) {
  if (std::isnan(value)) return "nan" + digits(std::bit_cast<std::uint64_t>(value), 16);
  const std::string text = digits(value);
  return text.find_first_of(".en") == std::string::npos ? text + "." : text;
}

std::string shown_dict(const HHandle& handle) {
  HTuple keys, kind, value;
  GetHandleParam(handle, "keys", HTuple(), &keys);
  std::string text = "{";
  for (Hlong i = 0; i < keys.Length(); ++i) {
    HObject object;
    GetHandleParam(handle, "key_data_type", keys[i], &kind);
    const bool is_object = kind[0].S().Text() == std::string("object");
    if (is_object)
      GetHandleObject(&object, handle, keys[i]);
    else
      GetHandleTuple(handle, keys[i], &value);
    text += (i > 0 ? "," : "") + shown(HTuple(keys[i])) + ":" + (is_object ? shown(object) : shown(value));
  }
  return text + "}";
}

std::string shown_element(const HTuple& element) {
  std::string type = element.TupleSemType()[0].S().Text();
  if (type == "integer") return digits(element[0].L());
  if (type == "real") return exact(element[0].D());
  if (type == "string") return "'" + std::string(element[0].S().Text()) + "'";
  if (type == "dict") return shown_dict(element[0].H());
  if (type == "object_model_3d" || type == "dl_model") return type + shown_dict(element[0].H());
  if (type != "matrix") return type;
  HTuple rows, columns, all;
  GetSizeMatrix(element, &rows, &columns);
  GetFullMatrix(element, &all);
  return type + shown(rows) + "x" + shown(columns) + shown(all);
}

std::string shown_object(const HObject& object) {
  HTuple name, t[8];
  GetObjClass(object, &name);
  std::string text = name[0].S().Text();
  int count = 3;
  if (text == "image") text += " " + pixels(object);
  if (text[0] == 'i') GetRegionRuns(HImage(object).GetDomain(), &t[0], &t[1], &t[2]);
  if (text == "region") GetRegionRuns(object, &t[0], &t[1], &t[2]);
  if (text == "xld_cont") count = 2, GetContourXld(object, &t[0], &t[1]);
  if (text == "xld_poly") count = 4, GetPolygonXld(object, &t[0], &t[1], &t[2], &t[3]);
  if (text == "xld_parallel")
    count = 8, GetParallelsXld(object, &t[0], &t[1], &t[2], &t[3], &t[4], &t[5], &t[6], &t[7]);
  for (int i = 0; i < count; ++i) text += " " + shown(t[i]);
  return text;
}

}  // namespace

std::vector<std::int64_t> Plane::integers() const { return values<std::int64_t>(*this); }
std::vector<double> Plane::reals() const { return values<double>(*this); }

Plane plane(const HObject& image, Hlong channel) {
  HObject only;
  AccessChannel(image, &only, channel);
  Plane result;
  HString type;
  result.first = HImage(only).GetImagePointer1(&type, &result.width, &result.height);
  result.type = type.Text();
  return result;
}

std::string pixels(const HObject& image) {
  std::string text;
  for (Hlong c = 1; c <= HImage(image).CountChannels()[0].L(); ++c) {
    const Plane channel = plane(image, c);
    if (c == 1) text = digits(channel.width) + "x" + digits(channel.height) + " " + channel.type;
    text += " |";
    if (channel.type == "real")
      for (const float value : values<float>(channel)) text += " " + exact(value);
    else
      for (const std::int64_t value : channel.integers()) text += " " + digits(value);
  }
  return text;
}

std::vector<std::string> all_pixels(const HObject& images) {
  HTuple count;
  CountObj(images, &count);
  std::vector<std::string> all;
  for (Hlong i = 1; i <= count[0].L(); ++i) {
    HObject one;
    SelectObj(images, &one, i);
    all.push_back(pixels(one));
  }
  return all;
}

std::string opened(const HTuple& path) {
  std::string text;
  const std::string reason = failure([&] {
    for (const std::string& each : all_pixels(read_image(path))) text += (text.empty() ? "" : " + ") + each;
  });
  return text + reason;
}

std::string shown(const HTuple& tuple) {
  if (tuple.Length() == 1) return shown_element(tuple);
  std::string text;
  for (Hlong i = 0; i < tuple.Length(); ++i) text += (i > 0 ? "," : "") + shown_element(HTuple(tuple[i]));
  return "(" + text + ")";
}

std::string shown(const HObject& objects) {
  HTuple count;
  CountObj(objects, &count);
  std::string text;
  for (Hlong i = 1; i <= count[0].L(); ++i) {
    HObject object;
    SelectObj(objects, &object, i);
    text += shown_object(object) + "\n";
  }
  return text;
}

}  // namespace test
