#include "page_image.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>
#include <utility>

#include "drawing.h"
#include "png_file.h"

namespace host {

namespace {

// Browsers leave a canvas blank whose width or height exceeds a limit of theirs: the smallest known one.
constexpr std::uint32_t max_side = 16384;

// The type text of an image description is the third of its parts: "320x240, 1ch, byte, domain: ...".
bool holds_bytes(const qv_node* node) {
  const std::string summary = to_utf8(qv_node_value_summary(node));
  const std::size_t end = summary.find(", domain");
  return std::string_view(summary).substr(0, end).ends_with("ch, byte") ||
         std::string_view(summary).substr(0, end).ends_with("ch], byte");
}

std::size_t bytes_per_pixel(const Picture& picture) {
  return picture.format == QV_PIXELS_GRAY8 ? 1 : picture.format == QV_PIXELS_BGR24 ? 3 : 4;
}

void copy_plane(const Picture& picture, std::size_t byte, std::uint8_t* to) {
  const std::size_t step = bytes_per_pixel(picture);
  for (std::uint32_t row = 0; row < picture.height; ++row) {
    const std::uint8_t* from = picture.bytes.get() + std::size_t{row} * picture.stride + byte;
    for (std::uint32_t column = 0; column < picture.width; ++column, from += step) *to++ = *from;
  }
}

// The channels of a picture, without the fourth byte when that is the domain.
StoredImage planes_of(const Picture& picture, std::uint32_t channels) {
  StoredImage image{SampleType::U1, picture.width, picture.height, channels, {}};
  const std::size_t plane = std::size_t{picture.width} * picture.height;
  image.values.resize(plane * channels);
  static constexpr std::size_t of_color[] = {2, 1, 0, 3};  // BGR and BGRA
  for (std::uint32_t c = 0; c < channels; ++c)
    copy_plane(picture, picture.format == QV_PIXELS_GRAY8 ? 0 : of_color[c], image.values.data() + c * plane);
  return image;
}

template <class Use>
void with_sample_type(SampleType type, Use use) {
  switch (type) {
    case SampleType::U1:
      return use(std::uint8_t{});
    case SampleType::I1:
      return use(std::int8_t{});
    case SampleType::U2:
      return use(std::uint16_t{});
    case SampleType::I2:
      return use(std::int16_t{});
    case SampleType::U4:
      return use(std::uint32_t{});
    case SampleType::I4:
      return use(std::int32_t{});
    case SampleType::I8:
      return use(std::int64_t{});
    case SampleType::F4:
      return use(float{});
    case SampleType::F8:
      return use(double{});
  }
}

// The largest 64-bit integer is 2^63 as a double, which is one too many.
template <class T>
T mean_of(double sum, std::size_t count) {
  using Limits = std::numeric_limits<T>;
  const double mean = sum / static_cast<double>(count);
  if constexpr (std::is_floating_point_v<T>)
    return count == 0 ? Limits::quiet_NaN() : static_cast<T>(mean);
  else if (mean >= static_cast<double>(Limits::max()))
    return Limits::max();
  else
    return static_cast<T>(std::llround(mean));
}

// One channel. Sums are kept of one row of results at a time.
template <class T>
void reduce_plane(const T* from, std::uint32_t width, std::uint32_t height, std::uint32_t step, T* to) {
  const std::size_t columns = (width + step - 1) / step;
  std::vector<double> sums(columns);
  std::vector<std::size_t> counts(columns);
  for (std::uint32_t row = 0; row < height; ++row) {
    for (std::uint32_t column = 0; column < width; ++column) {
      const T value = *from++;
      if constexpr (std::is_floating_point_v<T>)
        if (std::isnan(value)) continue;
      sums[column / step] += static_cast<double>(value);
      ++counts[column / step];
    }
    if ((row + 1) % step != 0 && row + 1 != height) continue;
    for (std::size_t i = 0; i < columns; ++i) *to++ = mean_of<T>(sums[i], counts[i]);
    std::fill(sums.begin(), sums.end(), 0);
    std::fill(counts.begin(), counts.end(), 0);
  }
}

template <class Unsigned>
void append_differences(const StoredImage& image, std::string& out) {
  const std::size_t count = image.values.size() / sizeof(Unsigned), begin = out.size();
  out.resize(begin + image.values.size());
  Unsigned left = 0;
  for (std::size_t i = 0; i < count; ++i) {
    Unsigned value = 0;
    std::memcpy(&value, image.values.data() + i * sizeof value, sizeof value);
    if (i % image.width == 0) left = 0;
    const auto difference = static_cast<Unsigned>(value - left);
    for (std::size_t byte = 0; byte < sizeof value; ++byte)
      out[begin + byte * count + i] = static_cast<char>(difference >> 8 * byte);
    left = value;
  }
}

std::uint32_t step_for(const StoredImage& image, std::uint64_t max_pixels) {
  const double pixels = double(image.width) * image.height, longer_side = std::max(image.width, image.height);
  const double step = std::max(std::sqrt(pixels / static_cast<double>(max_pixels)), longer_side / max_side);
  return std::max(1u, static_cast<std::uint32_t>(std::ceil(step)));
}

}  // namespace

StoredImage reduced(const StoredImage& image, std::uint32_t step) {
  StoredImage result{image.type, (image.width + step - 1) / step, (image.height + step - 1) / step, image.channels, {}};
  const std::size_t plane = std::size_t{image.width} * image.height, small = std::size_t{result.width} * result.height;
  result.values.resize(small * image.channels * sample_size(image.type));
  with_sample_type(image.type, [&](auto sample) {
    using T = decltype(sample);
    for (std::uint32_t c = 0; c < image.channels; ++c)
      reduce_plane(reinterpret_cast<const T*>(image.values.data()) + c * plane, image.width, image.height, step,
                   reinterpret_cast<T*>(result.values.data()) + c * small);
  });
  return result;
}

PageImage page_image(const Session& session, const qv_node* node, std::int32_t index, std::uint64_t max_pixels) {
  const std::int32_t channels = qv_node_image_channel_count(session.reader(), node, index);
  const bool is_drawn = channels == 1 || channels == 3 || channels == 4;
  PageImage page;
  if (is_drawn || channels < 0) {
    const Drawing drawing = draw(session, node, index);
    const Picture& picture = *drawing.picture;
    page.image = planes_of(picture, channels < 0 ? static_cast<std::uint32_t>(bytes_per_pixel(picture))
                                                 : static_cast<std::uint32_t>(channels));
    if (picture.format == QV_PIXELS_BGRA32 && channels > 0 && channels < 4) {
      page.domain.resize(std::size_t{picture.width} * picture.height);
      copy_plane(picture, 3, page.domain.data());
    }
  }
  if (!is_drawn || !holds_bytes(node)) try {
      page.image = stored_image(session, node, index);
    } catch (const Failure& failure) {
      if (!is_drawn) throw;
      page.drawn_because = failure.what();
    }
  page.width = page.image.width;
  page.height = page.image.height;
  page.step = step_for(page.image, max_pixels);
  if (page.step == 1) return page;
  if (!page.domain.empty()) {
    StoredImage mask{SampleType::U1, page.width, page.height, 1, std::move(page.domain)};
    page.domain = reduced(mask, page.step).values;
  }
  page.image = reduced(page.image, page.step);
  return page;
}

std::string packed(const StoredImage& image) {
  std::string bytes;
  switch (sample_size(image.type)) {
    case 1:
      append_differences<std::uint8_t>(image, bytes);
      break;
    case 2:
      append_differences<std::uint16_t>(image, bytes);
      break;
    case 4:
      append_differences<std::uint32_t>(image, bytes);
      break;
    default:
      bytes.assign(image.values.begin(), image.values.end());
  }
  return zlib_data(bytes);
}

std::string sample_type_name(SampleType type) {
  static constexpr const char* names[] = {"u1", "i1", "u2", "i2", "u4", "i4", "i8", "f4", "f8"};
  return names[static_cast<std::size_t>(type)];
}

}  // namespace host
