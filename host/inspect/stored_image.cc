#include "stored_image.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "saved_image.h"

namespace host {

namespace {

// More is not read into memory for a picture.
constexpr std::uint64_t max_bytes = std::uint64_t{1} << 31;

// The file is in memory, so that its path needs no form of its own on each system.
struct Content {
  std::string bytes;
  std::size_t place = 0;
};
Content& content_of(thandle_t handle) { return *static_cast<Content*>(handle); }

tmsize_t read_content(thandle_t handle, void* to, tmsize_t wanted) {
  Content& content = content_of(handle);
  const std::size_t left = content.bytes.size() - std::min(content.place, content.bytes.size());
  const std::size_t size = std::min(static_cast<std::size_t>(wanted), left);
  std::memcpy(to, content.bytes.data() + content.place, size);
  content.place += size;
  return static_cast<tmsize_t>(size);
}
tmsize_t write_nothing(thandle_t, void*, tmsize_t) { return 0; }
toff_t seek_content(thandle_t handle, toff_t to, int from) {
  Content& content = content_of(handle);
  const std::size_t begin = from == SEEK_CUR ? content.place : from == SEEK_END ? content.bytes.size() : 0;
  return content.place = begin + static_cast<std::size_t>(to);
}
int close_nothing(thandle_t) { return 0; }
toff_t size_of_content(thandle_t handle) { return content_of(handle).bytes.size(); }

struct Close {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, Close>;

template <class Value>
Value tag(TIFF* tiff, std::uint32_t name) {
  Value value{};
  TIFFGetFieldDefaulted(tiff, name, &value);
  return value;
}

SampleType sample_type(std::uint16_t format, std::uint16_t bits) {
  static constexpr struct {
    std::uint16_t format, bits;
    SampleType type;
  } types[] = {
      {SAMPLEFORMAT_UINT, 8, SampleType::U1},    {SAMPLEFORMAT_UINT, 16, SampleType::U2},
      {SAMPLEFORMAT_UINT, 32, SampleType::U4},   {SAMPLEFORMAT_INT, 8, SampleType::I1},
      {SAMPLEFORMAT_INT, 16, SampleType::I2},    {SAMPLEFORMAT_INT, 32, SampleType::I4},
      {SAMPLEFORMAT_INT, 64, SampleType::I8},    {SAMPLEFORMAT_IEEEFP, 32, SampleType::F4},
      {SAMPLEFORMAT_IEEEFP, 64, SampleType::F8},
  };
  for (const auto& each : types)
    if (each.format == format && each.bits == bits) return each.type;
  throw Failure("the saved image has " + std::to_string(bits) + " bits per value, which is not read");
}

// Splits one strip into the planes, or copies it into the one plane that it belongs to.
void place_strip(StoredImage& image, const std::vector<std::uint8_t>& strip, std::size_t bytes, bool joined,
                 std::size_t channel, std::size_t first_row) {
  const std::size_t size = sample_size(image.type), plane = std::size_t{image.width} * image.height * size;
  const std::size_t begin = first_row * image.width * size;
  if (!joined) {
    std::copy_n(strip.data(), std::min(bytes, plane - begin), image.values.data() + channel * plane + begin);
    return;
  }
  const std::size_t pixels = std::min(bytes / size / image.channels, (plane - begin) / size);
  for (std::size_t c = 0; c < image.channels; ++c) {
    const std::uint8_t* from = strip.data() + c * size;
    std::uint8_t* to = image.values.data() + c * plane + begin;
    for (std::size_t i = 0; i < pixels; ++i, from += size * image.channels, to += size) std::memcpy(to, from, size);
  }
}

StoredImage read_tiff(Content content) {
  TIFFSetWarningHandler(nullptr);
  TIFFSetErrorHandler(nullptr);
  const Tiff tiff(TIFFClientOpen("saved image", "rm", &content, read_content, write_nothing, seek_content,
                                 close_nothing, size_of_content, nullptr, nullptr));
  if (!tiff || TIFFIsTiled(tiff.get())) throw Failure("the image was saved in a form that is not read");
  StoredImage image;
  image.width = tag<std::uint32_t>(tiff.get(), TIFFTAG_IMAGEWIDTH);
  image.height = tag<std::uint32_t>(tiff.get(), TIFFTAG_IMAGELENGTH);
  image.channels = tag<std::uint16_t>(tiff.get(), TIFFTAG_SAMPLESPERPIXEL);
  image.type = sample_type(tag<std::uint16_t>(tiff.get(), TIFFTAG_SAMPLEFORMAT),
                           tag<std::uint16_t>(tiff.get(), TIFFTAG_BITSPERSAMPLE));
  const std::uint64_t plane = std::uint64_t{image.width} * image.height * sample_size(image.type);
  if (plane == 0 || image.channels == 0 || plane > max_bytes / image.channels)
    throw Failure("the image has no pixels or more than the 2 GiB that are read");
  image.values.resize(plane * image.channels);
  const bool joined = tag<std::uint16_t>(tiff.get(), TIFFTAG_PLANARCONFIG) == PLANARCONFIG_CONTIG;
  const std::uint32_t rows = std::min(tag<std::uint32_t>(tiff.get(), TIFFTAG_ROWSPERSTRIP), image.height);
  const std::uint32_t strips = TIFFNumberOfStrips(tiff.get());
  const std::uint32_t in_plane = joined || rows == 0 ? strips : (image.height + rows - 1) / rows;
  std::vector<std::uint8_t> strip(static_cast<std::size_t>(TIFFStripSize(tiff.get())));
  for (std::uint32_t i = 0; i < strips && i < in_plane * image.channels; ++i) {
    const tmsize_t bytes = TIFFReadEncodedStrip(tiff.get(), i, strip.data(), static_cast<tmsize_t>(strip.size()));
    const std::size_t first_row = std::size_t{i % in_plane} * rows;
    if (bytes < 0 || first_row >= image.height) throw Failure("the saved image could not be read");
    place_strip(image, strip, static_cast<std::size_t>(bytes), joined, i / in_plane, first_row);
  }
  return image;
}

}  // namespace

StoredImage stored_image(const Session& session, const qv_node* node, std::int32_t index) {
  return read_tiff({saved_image(session, node, index, ".tif")});
}

}  // namespace host
