#include "support/objects.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "HalconCreate.h"

namespace test {

using namespace HalconCpp;

HTuple tuple(std::initializer_list<HTuple> elements) {
  HTuple all;
  for (const HTuple& element : elements) all.Append(element);
  return all;
}

static HTuple reals(std::initializer_list<double> values) {
  HTuple all;
  for (const double value : values) all.Append(value);
  return all;
}

HObject composed(const std::vector<HObject>& planes) {
  HObject image = planes[0], longer;
  for (std::size_t i = 1; i < planes.size(); ++i, image = longer) AppendChannel(image, planes[i], &longer);
  return image;
}

HObject ramp(int width, int height, int channels, const char* type) {
  std::vector<HObject> planes(static_cast<std::size_t>(channels));
  std::vector<std::uint8_t> values(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  for (std::size_t channel = 0; channel < planes.size(); ++channel) {
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<std::uint8_t>(10 * channel + i);
    GenImage1(&planes[channel], "byte", width, height, values.data());
  }
  HObject converted;
  ConvertImageType(composed(planes), &converted, type);
  return converted;
}

HObject with_domain(const HObject& image, int row1, int column1, int row2, int column2) {
  HObject reduced;
  ReduceDomain(image, rectangle(row1, column1, row2, column2), &reduced);
  return reduced;
}

HObject rectangle(int row1, int column1, int row2, int column2) {
  HObject region;
  GenRectangle1(&region, row1, column1, row2, column2);
  return region;
}

HObject contour(std::initializer_list<double> rows, std::initializer_list<double> cols) {
  HObject object;
  GenContourPolygonXld(&object, reals(rows), reals(cols));
  return object;
}

HObject polygon(std::initializer_list<double> rows, std::initializer_list<double> cols) {
  HObject object;
  GenPolygonXld(&object, reals(rows), reals(cols));
  return object;
}

HObject parallels() {
  HObject object;
  GenParallelsXld(&object, reals({0, 0}), reals({0, 10}), reals({4, 4, 4}), reals({1, 5, 9.5}));
  return object;
}

HObject concat(std::initializer_list<HObject> objects) {
  HObject all = empty_object();
  for (const HObject& object : objects) {
    HObject longer;
    ConcatObj(all, object, &longer);
    all = longer;
  }
  return all;
}

HObject empty_object() {
  HObject object;
  GenEmptyObj(&object);
  return object;
}

void save(const HObject& object, const std::string& path) { WriteObject(object, path.c_str()); }

void save_dict(const HTuple& dict, const std::string& path) {
  HDict(dict[0].H()).WriteDict(path.c_str(), HTuple(), HTuple());
}

}  // namespace test
