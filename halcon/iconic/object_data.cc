#include "iconic/object_data.h"

#include <string>

#include "core/access.h"
#include "core/failure.h"

namespace HalconCpp {

namespace detail {

const char* class_name(ObjectClass object_class) noexcept {
  switch (object_class) {
    case ObjectClass::Image:
      return "image";
    case ObjectClass::Region:
      return "region";
    case ObjectClass::Contour:
      return "xld_cont";
    case ObjectClass::Polygon:
      return "xld_poly";
    case ObjectClass::Parallels:
      return "xld_parallel";
  }
  return "";
}

struct ObjectTuple::Kept {
  std::shared_ptr<const void> what;
  Kept* before;
};

ObjectTuple::~ObjectTuple() {
  for (Kept* at = kept_.load(std::memory_order_relaxed); at;) delete std::exchange(at, at->before);
}

void ObjectTuple::keep(std::shared_ptr<const void> what) const {
  Kept* last = kept_.load(std::memory_order_acquire);
  if (last && last->what == what) return;
  auto kept = std::make_unique<Kept>(Kept{std::move(what), last});
  while (!kept_.compare_exchange_weak(kept->before, kept.get(), std::memory_order_acq_rel)) continue;
  static_cast<void>(kept.release());
}

void retain(const ObjectTuple* data) noexcept {
  if (data) data->references_.fetch_add(1, std::memory_order_relaxed);
}

void release(const ObjectTuple* data) noexcept {
  if (data && data->references_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete data;
}

HObject make_object(std::vector<ObjectRef> objects) { return Access::wrap(new ObjectTuple(std::move(objects))); }

HObject make_object(ObjectRef object) {
  std::vector<ObjectRef> objects;
  objects.push_back(std::move(object));
  return make_object(std::move(objects));
}

const std::vector<ObjectRef>& objects_of(const HObject& object) {
  const ObjectTuple* tuple = Access::data(object);
  if (!tuple) fail("the object is not set");
  return tuple->objects();
}

const IconicObject& single_of_class(const HObject& object, ObjectClass wanted) {
  const auto& objects = objects_of(object);
  if (objects.size() != 1)
    fail("expects one object of class \"" + std::string(class_name(wanted)) + "\", not " +
         std::to_string(objects.size()) + " objects");
  require_class(*objects[0], wanted);
  return *objects[0];
}

void require_class(const IconicObject& object, ObjectClass wanted) {
  if (object.object_class != wanted)
    fail("expects an object of class \"" + std::string(class_name(wanted)) + "\", not \"" +
         class_name(object.object_class) + "\"");
}

}  // namespace detail

HObject::HObject(const HObject& other) noexcept : data_(other.data_) { detail::retain(data_); }

HObject& HObject::operator=(const HObject& other) noexcept {
  detail::retain(other.data_);
  detail::release(std::exchange(data_, other.data_));
  return *this;
}

HObject& HObject::operator=(HObject&& other) noexcept {
  std::swap(data_, other.data_);
  return *this;
}

HObject::~HObject() { detail::release(data_); }

}  // namespace HalconCpp
