// Small HALCON data for tests, made through the class interface.
#ifndef QUOVEL_TESTS_SUPPORT_OBJECTS_H
#define QUOVEL_TESTS_SUPPORT_OBJECTS_H

#include <initializer_list>
#include <string>
#include <vector>

#include "HalconCpp.h"

namespace test {

using HalconCpp::HObject;
using HalconCpp::HTuple;

HTuple tuple(std::initializer_list<HTuple> elements);
// An image of the pixel type whose channel c holds the ramp 10 * c, 10 * c + 1, ... (wrapping in 8 bits).
HObject ramp(int width, int height, int channels = 1, const char* type = "byte");
// The planes of one size and type as the channels of an image.
HObject composed(const std::vector<HObject>& planes);
HObject with_domain(const HObject& image, int row1, int column1, int row2, int column2);
HObject rectangle(int row1, int column1, int row2, int column2);
HObject contour(std::initializer_list<double> rows, std::initializer_list<double> cols);
HObject polygon(std::initializer_list<double> rows, std::initializer_list<double> cols);
HObject parallels();
HObject concat(std::initializer_list<HObject> objects);
HObject empty_object();
void save(const HObject& object, const std::string& path);
void save_dict(const HTuple& dict, const std::string& path);

}  // namespace test

#endif
