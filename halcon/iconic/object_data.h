// The iconic objects themselves. All of them are immutable once made and shared between object tuples.
#ifndef HALCONCPP_ICONIC_OBJECT_DATA_H
#define HALCONCPP_ICONIC_OBJECT_DATA_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "HalconCpp.h"

namespace HalconCpp::detail {

enum class ObjectClass : std::uint8_t { Image, Region, Contour, Polygon, Parallels };

// "image", "region", "xld_cont", "xld_poly", "xld_parallel".
const char* class_name(ObjectClass object_class) noexcept;

struct IconicObject {
  explicit IconicObject(ObjectClass c) noexcept : object_class(c) {}
  virtual ~IconicObject() = default;
  const ObjectClass object_class;
};

using ObjectRef = std::shared_ptr<const IconicObject>;

// What an HObject refers to: the shared list of its objects. It changes only while one HObject alone refers to it.
class ObjectTuple {
 public:
  explicit ObjectTuple(std::vector<ObjectRef> objects) noexcept : objects_(std::move(objects)) {}
  ~ObjectTuple();
  ObjectTuple(const ObjectTuple&) = delete;
  ObjectTuple& operator=(const ObjectTuple&) = delete;
  const std::vector<ObjectRef>& objects() const noexcept { return objects_; }
  // Whether one HObject alone refers to it, so that nobody sees a change.
  bool is_unique() const noexcept { return references_.load(std::memory_order_acquire) == 1; }
  // `more` is not the own list.
  void append(const std::vector<ObjectRef>& more) { objects_.insert(objects_.end(), more.begin(), more.end()); }
  // Keeps that as long as the tuple: pixels that a caller was given a pointer to. Safe to call from several threads.
  void keep(std::shared_ptr<const void> what) const;

 private:
  friend void retain(const ObjectTuple* data) noexcept;
  friend void release(const ObjectTuple* data) noexcept;
  struct Kept;
  mutable std::atomic<std::uint32_t> references_{1};
  mutable std::atomic<Kept*> kept_{nullptr};  // the last one; each links to the one before
  std::vector<ObjectRef> objects_;
};

HObject make_object(std::vector<ObjectRef> objects);
HObject make_object(ObjectRef object);

// The objects of a tuple; rejects an unset HObject.
const std::vector<ObjectRef>& objects_of(const HObject& object);
// The one object of a tuple, which must be of class T; rejects anything else with both class names in the text.
template <class T>
const T& single(const HObject& object);
const IconicObject& single_of_class(const HObject& object, ObjectClass wanted);
// Rejects an object of another class.
void require_class(const IconicObject& object, ObjectClass wanted);

template <class T>
const T& single(const HObject& object) {
  return static_cast<const T&>(single_of_class(object, T::kind));
}

}  // namespace HalconCpp::detail

#endif
