// What the class interface answers, as values and texts that tests compare.
#ifndef QUOVEL_TESTS_SUPPORT_VALUES_H
#define QUOVEL_TESTS_SUPPORT_VALUES_H

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "HalconCreate.h"  // IWYU pragma: keep (for a template)
#include "support/objects.h"

namespace test {

using HalconCpp::HHandle;
using HalconCpp::Hlong;

// The message of the failure; empty when there is none.
template <class Call>
std::string failure(Call&& call) {
  try {
    call();
    return {};
  } catch (const HalconCpp::HException& exception) {
    return exception.ErrorMessage().Text();
  }
}

HTuple new_dict(std::initializer_list<std::pair<HTuple, HTuple>> entries = {});
// Dictionaries in dictionaries, each under the key "in"; every other one stands first in a tuple of two.
HTuple nested_dicts(int depth);
HTuple new_matrix(const HTuple& rows, const HTuple& columns, const HTuple& values);
HTuple new_dl_model(const HTuple& dict);
// Two points, and a dictionary with every kind of value, iconic objects under "objects".
HTuple sample_points();
HTuple sample_dict();
HTuple read_dict(const std::string& path);
HTuple read_model3d(const std::string& path);
HTuple model3d_param(const HTuple& model, const HTuple& names);
HTuple read_dl_model(const std::string& path);
HObject read_objects(const std::string& path);
HObject read_image(const HTuple& path);

// One channel of an image.
struct Plane {
  std::string type;
  Hlong width = 0, height = 0;
  const void* first = nullptr;

  // The pixels, whatever their type.
  std::vector<std::int64_t> integers() const;
  std::vector<double> reals() const;
};
Plane plane(const HObject& image, Hlong channel = 1);
// One row, unless a width is given.
template <class T>
HObject image_of(const char* type, const std::vector<T>& pixels, Hlong width = 0) {
  HObject image;
  const auto count = static_cast<Hlong>(pixels.size());
  if (width == 0) width = count;
  GenImage1(&image, type, width, count / width, pixels.data());
  return image;
}

// "2x1 byte | 1 2 | 3 4" is an image of two columns, one row and two channels.
std::string pixels(const HObject& image);
// Of each image.
std::vector<std::string> all_pixels(const HObject& images);
// The pixels of the images of a file, with " + " between them, or why it is rejected.
std::string opened(const HTuple& path);

// Values to the last bit, with all they hold: {'key':1,2.5:(1,'x',-0.)}; objects by class with pixels, runs or points.
std::string shown(const HTuple& tuple);
std::string shown(const HObject& objects);

}  // namespace test

#endif
