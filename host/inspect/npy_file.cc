#include "npy_file.h"

#include <bit>
#include <cstddef>

namespace host {

namespace {

// The type as NumPy writes it: byte order, kind, bytes.
std::string description(SampleType type) {
  static constexpr const char* names[] = {"u1", "i1", "u2", "i2", "u4", "i4", "i8", "f4", "f8"};
  const char order = sample_size(type) == 1 ? '|' : std::endian::native == std::endian::little ? '<' : '>';
  return order + std::string(names[static_cast<std::size_t>(type)]);
}

std::string shape(const StoredImage& image) {
  std::string text = std::to_string(image.height) + ", " + std::to_string(image.width);
  if (image.channels > 1) text += ", " + std::to_string(image.channels);
  return text;
}

}  // namespace

std::string make_npy(const StoredImage& image) {
  constexpr std::size_t before_header = 10, alignment = 64;  // of the data, as the format asks
  std::string header =
      "{'descr': '" + description(image.type) + "', 'fortran_order': False, 'shape': (" + shape(image) + "), }";
  header.append(alignment - 1 - (before_header + header.size()) % alignment, ' ');
  header += '\n';
  std::string file("\x93NUMPY\x01\x00", 8);
  file += static_cast<char>(header.size() & 0xFF);
  file += static_cast<char>(header.size() >> 8);
  file += header;
  const std::size_t size = sample_size(image.type), pixels = std::size_t{image.width} * image.height;
  file.reserve(file.size() + image.values.size());
  const char* const values = reinterpret_cast<const char*>(image.values.data());
  if (image.channels == 1) return file.append(values, image.values.size());
  for (std::size_t i = 0; i < pixels; ++i)
    for (std::size_t channel = 0; channel < image.channels; ++channel)
      file.append(values + (channel * pixels + i) * size, size);
  return file;
}

}  // namespace host
