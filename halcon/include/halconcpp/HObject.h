#ifndef HALCONCPP_HOBJECT_H
#define HALCONCPP_HOBJECT_H

#include "halconcpp/HTuple.h"

namespace HalconCpp {

namespace detail {
class ObjectTuple;
HALCONCPP_API void retain(const ObjectTuple* data) noexcept;
HALCONCPP_API void release(const ObjectTuple* data) noexcept;
}  // namespace detail

class HRegion;

// A tuple of iconic objects: images, regions, XLD contours, polygons and parallels in any mix. Copies share the
// objects. A default-made one is unset and every operator rejects it; an empty tuple is a value like any other.
class HALCONCPP_API HObject {
 public:
  HObject() noexcept = default;
  HObject(const HObject& other) noexcept;
  HObject(HObject&& other) noexcept : data_(other.data_) { other.data_ = nullptr; }
  HObject& operator=(const HObject& other) noexcept;
  HObject& operator=(HObject&& other) noexcept;
  ~HObject();

 protected:
  friend struct detail::Access;
  const detail::ObjectTuple* data_ = nullptr;  // null: unset
};

// An HObject whose objects are all images. The members expect exactly one.
class HALCONCPP_API HImage : public HObject {
 public:
  HImage() noexcept = default;
  // Throws when an object is not an image.
  HImage(const HObject& object);

  // The pixels of the first channel, row by row without padding; they live as long as an object that holds the image.
  // `type` is the pixel type: "byte", "int1", "int2", "uint2", "int4", "int8" or "real".
  void* GetImagePointer1(HString* type, Hlong* width, Hlong* height) const;
  // The same with its layout: bytes per row, bits from one pixel to the next, bits per pixel.
  void* GetImagePointer1Rect(Hlong* width, Hlong* height, Hlong* vertical_pitch, Hlong* horizontal_bit_pitch,
                             Hlong* bits_per_pixel) const;
  HTuple CountChannels() const;
  HTuple Width() const;
  HTuple Height() const;
  HRegion GetDomain() const;
};

// An HObject whose objects are all regions.
class HALCONCPP_API HRegion : public HObject {
 public:
  HRegion() noexcept = default;
  // Throws when an object is not a region.
  HRegion(const HObject& object);
};

}  // namespace HalconCpp

#endif
