// Conversion of pixel values to another type, and scaling to 0..255.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "core/arguments.h"
#include "core/failure.h"
#include "core/vector_units.h"
#include "iconic/deferred_image.h"
#include "iconic/image.h"
#include "iconic/object_data.h"
#include "iconic/plane.h"
#include "iconic/region.h"

namespace HalconCpp {

using namespace detail;

namespace {

template <class T>
using LimitsOf = std::numeric_limits<T>;
// Wide enough for every value of A and B, and no wider: more values fit into one step.
template <class A, class B = A>
using WideOf = std::conditional_t<(sizeof(A) > 4 || sizeof(B) > 4), std::int64_t, std::int32_t>;

// NaN becomes 0; a value outside the integer type T becomes the nearer limit.
template <class T, class F>
HALCONCPP_INLINE F clamped(F value) noexcept {
  constexpr F low = static_cast<F>(LimitsOf<T>::min()), high = static_cast<F>(LimitsOf<T>::max());
  // Only NaN differs from itself; std::isnan would keep the loop from being vectorized.
  if constexpr (std::is_signed_v<T>) value = value == value ? value : F(0);  // NOLINT(misc-redundant-expression)
  const F above = value > low ? value : low;                                 // NaN fails every comparison
  return above < high ? above : high;
}

// To the nearest integer, halves away from zero.
template <class T, class F>
HALCONCPP_INLINE T rounded(F inside) noexcept {
  if constexpr (std::is_unsigned_v<T>)  // twice the value is exact, and so is its half that is rounded up
    return static_cast<T>((static_cast<WideOf<T>>(inside + inside) + 1) >> 1);
  if constexpr (LimitsOf<F>::digits < LimitsOf<T>::digits)
    if (inside >= static_cast<F>(LimitsOf<T>::max())) return LimitsOf<T>::max();  // F has one more than the limit
  const auto whole = static_cast<WideOf<T>>(inside);
  const F rest = inside - static_cast<F>(whole);
  return static_cast<T>(whole + static_cast<WideOf<T>>(rest + rest));
}

// Clamping and rounding are separate loops: in one loop compilers make branches of them, apart both are vectorized.
template <class T, class F, class Value>
HALCONCPP_INLINE void round_all(T* to, std::size_t count, Value value) noexcept {
  constexpr std::size_t block = 256;
  F inside[block];
  for (std::size_t done = 0; done < count; done += block) {
    const std::size_t size = std::min(block, count - done);
    for (std::size_t k = 0; k < size; ++k) inside[k] = clamped<T, F>(value(done + k));
    for (std::size_t k = 0; k < size; ++k) to[done + k] = rounded<T>(inside[k]);
  }
}

template <class To, class From>
To saturated(From value) noexcept {
  using Wide = WideOf<To, From>;
  const Wide above = std::max(static_cast<Wide>(value), static_cast<Wide>(LimitsOf<To>::min()));
  return static_cast<To>(std::min(above, static_cast<Wide>(LimitsOf<To>::max())));
}

template <class To, class From>
void convert(const From* from, To* to, std::size_t count) noexcept {
  if constexpr (std::is_same_v<To, float>) {
    std::transform(from, from + count, to, [](From value) { return static_cast<float>(value); });
  } else if constexpr (std::is_same_v<From, float>) {
    using F = std::conditional_t<(sizeof(To) > 2), double, float>;
    round_all<To, F>(to, count, [from](std::size_t i) { return static_cast<F>(from[i]); });
  } else {
    std::transform(from, from + count, to, saturated<To, From>);
  }
}

// The image with other planes.
template <class MakePlane>
std::shared_ptr<const Image> with_planes(const Image& image, PixelType type, MakePlane make) {
  std::vector<Plane> planes;
  for (const Plane& plane : image.channels) planes.push_back(make(plane));
  return std::make_shared<const Image>(type, image.width, image.height, std::move(planes), image.domain);
}

// The integer image that a real one was made from (PixelPlane::integers); null when there is none.
std::shared_ptr<const Image> integers_of(const Image& image) {
  const PixelType type = image.channels[0]->integer_type();
  for (const Plane& plane : image.channels)
    if (!plane->integers() || plane->integer_type() != type) return nullptr;
  return with_planes(image, type, [](const Plane& plane) { return plane->integers(); });
}

ObjectRef converted_image(const ObjectRef& object, PixelType type) {
  require_class(*object, Image::kind);
  if (static_cast<const Image&>(*object).type == type) return object;
  const LoadedImage loaded(static_cast<const Image&>(*object));
  const Image& image = *loaded;
  if (type == PixelType::Real && pixel_size(image.type) <= 2)
    return with_planes(image, type, [&](const Plane& plane) {
      return std::make_shared<const PixelPlane>(plane, image.type, image.pixels());
    });
  ImageDraft draft(type, image.width, image.height, image.channels.size());
  with_pixel_type(image.type, [&](auto from) {
    with_pixel_type(type, [&](auto to) {
      for (std::size_t i = 0; i < draft.channels(); ++i)
        convert(image.plane<decltype(from)>(i), draft.plane<decltype(to)>(i), image.pixels());
    });
  });
  return draft.finish(image.domain);
}

// Smallest and largest finite value; low > high when there is none.
template <class T>
struct Range {
  T low = LimitsOf<T>::max();
  T high = LimitsOf<T>::lowest();
};

template <class T>
HALCONCPP_INLINE void add(Range<T>& range, const T* values, std::size_t count) noexcept {
  T lowest = range.low, highest = range.high;
  for (std::size_t i = 0; i < count; ++i) {
    lowest = std::min(lowest, values[i]);
    highest = std::max(highest, values[i]);
  }
  range = {lowest, highest};
}

template <>
HALCONCPP_INLINE void add(Range<float>& range, const float* values, std::size_t count) noexcept {
  // One pair per lane. With a single pair, compilers must keep the order of float comparisons and do not vectorize
  // them.
  constexpr std::size_t lanes = 16;
  constexpr float largest = LimitsOf<float>::max();
  float lowest[lanes], highest[lanes];
  std::fill_n(lowest, lanes, range.low);
  std::fill_n(highest, lanes, range.high);
  std::size_t done = 0;
  for (; count - done >= lanes; done += lanes)
    for (std::size_t k = 0; k < lanes; ++k) {
      const float value = values[done + k];
      const float from_below = value >= -largest ? value : largest;
      const float from_above = value <= largest ? value : -largest;
      lowest[k] = from_below < lowest[k] ? from_below : lowest[k];
      highest[k] = from_above > highest[k] ? from_above : highest[k];
    }
  for (; done < count; ++done)
    if (values[done] >= -largest && values[done] <= largest) {
      lowest[0] = std::min(lowest[0], values[done]);
      highest[0] = std::max(highest[0], values[done]);
    }
  range = {*std::min_element(lowest, lowest + lanes), *std::max_element(highest, highest + lanes)};
}

#if HALCONCPP_TWICE_WIDE
template <class T>
HALCONCPP_FOR("avx2")
void extend_wide(Range<T>& range, const T* values, std::size_t count) noexcept {
  add(range, values, count);
}
#endif

template <class T>
void extend(Range<T>& range, const T* values, std::size_t count) noexcept {
#if HALCONCPP_TWICE_WIDE
  if (HALCONCPP_HAS("avx2")) return extend_wide(range, values, count);
#endif
  add(range, values, count);
}

template <class T>
Range<T> range_in_domain(const Image& image) {
  Range<T> range;
  for (std::size_t channel = 0; channel < image.channels.size(); ++channel) {
    const T* plane = image.plane<T>(channel);
    if (!image.domain) {
      extend(range, plane, image.pixels());
      continue;
    }
    const Runs& runs = *image.domain;
    for (std::size_t i = 0; i < runs.size(); ++i)
      extend(range,
             plane + static_cast<std::size_t>(runs.rows[i]) * static_cast<std::size_t>(image.width) + runs.begins[i],
             static_cast<std::size_t>(runs.ends[i] - runs.begins[i] + 1));
  }
  return range;
}

// value -> (value - low) * scale.
struct Stretch {
  double low = 0;
  // Without a range every finite value becomes 0, and infinity stays infinite.
  double scale = LimitsOf<double>::min();
};

template <class T>
Stretch stretch_of(const Image& image) {
  const Range<T> range = range_in_domain<T>(image);
  if (!(range.low < range.high)) return {};
  const double low = static_cast<double>(range.low);
  return {low, 255 / (static_cast<double>(range.high) - low)};
}

template <class F, class T>
HALCONCPP_INLINE void stretch_each(const T* from, std::uint8_t* to, std::size_t count, Stretch by) noexcept {
  const F low = static_cast<F>(by.low), scale = static_cast<F>(by.scale);
  round_all<std::uint8_t, F>(to, count, [=](std::size_t i) { return (static_cast<F>(from[i]) - low) * scale; });
}

#if HALCONCPP_TWICE_WIDE
template <class F, class T>
HALCONCPP_FOR("avx2")
void stretch_wide(const T* from, std::uint8_t* to, std::size_t count, Stretch by) noexcept {
  stretch_each<F>(from, to, count, by);
}
#endif

template <class F, class T>
void stretch(const T* from, std::uint8_t* to, std::size_t count, Stretch by) noexcept {
#if HALCONCPP_TWICE_WIDE
  if (HALCONCPP_HAS("avx2")) return stretch_wide<F>(from, to, count, by);
#endif
  stretch_each<F>(from, to, count, by);
}

// Whether float arithmetic, which is twice as fast, is exact enough for the result.
template <class T>
bool float_suffices(Stretch by) noexcept {
  if constexpr (sizeof(T) <= 2) return true;
  return std::is_same_v<T, float> && by.scale > 1e-30 && by.scale < 1e30;
}

ObjectRef stretched(const Image& image) {
  ImageDraft draft(PixelType::Byte, image.width, image.height, image.channels.size());
  with_pixel_type(image.type, [&](auto pixel) {
    using T = decltype(pixel);
    const Stretch by = stretch_of<T>(image);
    const auto run = float_suffices<T>(by) ? stretch<float, T> : stretch<double, T>;
    for (std::size_t i = 0; i < draft.channels(); ++i)
      run(image.plane<T>(i), draft.plane<std::uint8_t>(i), image.pixels(), by);
  });
  return draft.finish(image.domain);
}

// Reals that were made from integers of 8 or 16 bits are stretched from those: the result is the same.
ObjectRef stretched_image(const ObjectRef& object) {
  require_class(*object, Image::kind);
  const LoadedImage loaded(static_cast<const Image&>(*object));
  const Image& image = *loaded;
  const auto integers = integers_of(image);
  return stretched(integers ? *integers : image);
}

template <class Make>
HObject made_from_each(const HObject& objects, Make make) {
  std::vector<ObjectRef> made;
  for (const ObjectRef& object : objects_of(objects)) made.push_back(make(object));
  return make_object(std::move(made));
}

}  // namespace

// Values are kept, not scaled. An integer outside the new type's range becomes the nearer limit; a real is rounded to
// the nearest integer, halves away from zero; NaN becomes 0 and an infinity the limit on its side. Integers beyond 24
// bits lose digits as "real". An image of that type already is shared. Each image of a tuple is converted on its own.
void ConvertImageType(const HObject& image, HObject* converted, const HTuple& type) {
  operate("ConvertImageType", [&] {
    const PixelType wanted = pixel_type_of(text_argument(type, "the pixel type"));
    *converted = made_from_each(image, [&](const ObjectRef& each) { return converted_image(each, wanted); });
  });
}

// The result is of type "byte" whatever the pixel type. The smallest finite value inside the domain, over all channels,
// becomes 0 and the largest 255; what lies between is rounded to the nearest, halves up. Pixels outside the domain are
// scaled by the same factors and clamped. NaN and -infinity become 0, +infinity 255. Where the domain holds one value
// only, or none (it is empty, or has no finite pixel), every finite pixel becomes 0.
void ScaleImageMax(const HObject& image, HObject* scaled) {
  operate("ScaleImageMax", [&] { *scaled = made_from_each(image, stretched_image); });
}

}  // namespace HalconCpp
