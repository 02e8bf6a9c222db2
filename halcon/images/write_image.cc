#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "core/access.h"
#include "core/arguments.h"
#include "core/buffer.h"
#include "core/failure.h"
#include "core/file.h"
#include "iconic/deferred_image.h"
#include "iconic/image.h"
#include "iconic/object_data.h"
#include "iconic/plane.h"
#include "iconic/region.h"
#include "images/codec.h"

namespace HalconCpp {

using namespace detail;

namespace {

const ImageWriter& writer_of(std::string_view format) {
  std::string names;
  for (const ImageWriter& writer : image_writers()) {
    if (format == writer.format) {
      if (!writer.write) fail("this build writes no " + std::string(writer.format) + " files (" + writer.missing + ")");
      return writer;
    }
    names += (names.empty() ? "" : ", ") + std::string(writer.format);
  }
  fail("the format " + quoted(format) + " is unknown; accepted are " + names);
}

// A number as a pixel: rounded and clamped to the range of the type.
template <class T>
T pixel_of(double value) {
  if constexpr (std::is_floating_point_v<T>) {
    return static_cast<T>(value);
  } else {
    constexpr T low = std::numeric_limits<T>::min(), high = std::numeric_limits<T>::max();
    if (!(value > static_cast<double>(low))) return low;
    if (value >= static_cast<double>(high)) return high;
    return static_cast<T>(std::llround(value));
  }
}

// The fill color everywhere outside the domain.
template <class T>
Plane filled(const Image& image, std::size_t channel, double color) {
  Buffer<std::byte> plane(image.pixels() * sizeof(T));
  T* const to = reinterpret_cast<T*>(plane.data());
  const T* const from = image.plane<T>(channel);
  std::fill_n(to, image.pixels(), pixel_of<T>(color));
  const Runs& runs = *image.domain;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    const std::size_t row = static_cast<std::size_t>(runs.rows[i]) * static_cast<std::size_t>(image.width);
    std::copy(from + row + runs.begins[i], from + row + runs.ends[i] + 1, to + row + runs.begins[i]);
  }
  return std::make_shared<const PixelPlane>(std::move(plane));
}

Image filled(const Image& image, const std::vector<double>& colors) {
  const std::size_t channels = image.channels.size();
  if (colors.size() != 1 && colors.size() != channels)
    fail("the fill color has " + std::to_string(colors.size()) + " values; the image has " + std::to_string(channels) +
         " channels");
  std::vector<Plane> planes;
  for (std::size_t c = 0; c < channels; ++c) {
    const double color = colors[colors.size() == 1 ? 0 : c];
    planes.push_back(with_pixel_type(image.type, [&](auto pixel) { return filled<decltype(pixel)>(image, c, color); }));
  }
  return Image(image.type, image.width, image.height, std::move(planes));
}

void write_file(std::string_view path, const Buffer<std::byte>& content) {
  OutputFile file(path);
  file.write(content.data(), content.size());
  file.commit();
}

const std::vector<ObjectRef>& images_of(const HObject& object, std::size_t files) {
  const auto& objects = objects_of(object);
  if (objects.empty()) fail("there is no image to write");
  for (const ObjectRef& each : objects)
    if (each->object_class != ObjectClass::Image)
      fail("an object of class \"" + std::string(class_name(each->object_class)) + "\" is not an image");
  if (files != objects.size())
    fail("each image needs its own file name, but there are " + std::to_string(objects.size()) + " images and " +
         std::to_string(files) + " file names");
  return objects;
}

std::vector<std::string> file_names(const HTuple& files) {
  std::vector<std::string> names;
  for (Hlong i = 0; i < files.Length(); ++i)
    names.emplace_back(text_argument(Access::element(files, i), "a file name"));
  if (names.empty()) fail("there is no file name");
  return names;
}

// Writes all images. Errors that concern no single file name the first one.
void write_images(const HObject& image, std::string_view format, const HTuple& fill_color,
                  const std::vector<std::string>& names) {
  const std::vector<ObjectRef>* images = nullptr;
  const ImageWriter* writer = nullptr;
  std::vector<double> colors;
  in_file(names.front(), [&] {
    images = &images_of(image, names.size());
    writer = &writer_of(format);
    colors = number_arguments(fill_color, "the fill color");
  });
  for (std::size_t i = 0; i < names.size(); ++i) {
    in_file(names[i], [&] {
      const LoadedImage loaded(static_cast<const Image&>(*(*images)[i]));
      const Image& each = *loaded;
      write_file(names[i], each.domain ? writer->write(filled(each, colors)) : writer->write(each));
    });
  }
}

}  // namespace

void WriteImage(const HObject& image, const HTuple& format, const HTuple& fill_color, const HTuple& file) {
  operate("WriteImage",
          [&] { write_images(image, text_argument(format, "the format"), fill_color, file_names(file)); });
}

}  // namespace HalconCpp
