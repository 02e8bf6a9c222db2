// The operators on tuples of iconic objects: counting, selecting, joining, and conversion to one class.
#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "core/access.h"
#include "core/failure.h"
#include "iconic/object_data.h"

namespace HalconCpp {

using namespace detail;

namespace {

const ObjectRef& numbered_object(const std::vector<ObjectRef>& objects, const HTuple& index) {
  if (Access::kind(index) != TupleKind::Integer) fail("an index must be an integer");
  const Hlong number = Access::integer(index);
  if (number < 1 || number > static_cast<Hlong>(objects.size()))
    fail("object " + std::to_string(number) + " of a tuple of " + std::to_string(objects.size()) +
         " objects does not exist; objects are numbered from 1");
  return objects[static_cast<std::size_t>(number - 1)];
}

// The five names are made once and shared. They are never destroyed: threads may ask after main has ended.
const HTuple& class_tuple(ObjectClass object_class) {
  static const auto& names = *new std::vector<HTuple>{
      Access::text_tuple(class_name(ObjectClass::Image)), Access::text_tuple(class_name(ObjectClass::Region)),
      Access::text_tuple(class_name(ObjectClass::Contour)), Access::text_tuple(class_name(ObjectClass::Polygon)),
      Access::text_tuple(class_name(ObjectClass::Parallels))};
  return names[static_cast<std::size_t>(object_class)];
}

HTuple class_names(const std::vector<ObjectRef>& objects) {
  if (objects.empty()) return {};
  const ObjectClass first = objects[0]->object_class;
  const auto is_first = [&](const ObjectRef& object) { return object->object_class == first; };
  if (std::all_of(objects.begin(), objects.end(), is_first))
    return Access::repeat(class_tuple(first), static_cast<Hlong>(objects.size()));
  std::vector<HTuple> names;
  names.reserve(objects.size());
  for (const ObjectRef& object : objects) names.push_back(class_tuple(object->object_class));
  return Access::elements(std::move(names));
}

void require_all(const HObject& object, ObjectClass wanted) {
  for (const ObjectRef& each : objects_of(object)) require_class(*each, wanted);
}

}  // namespace

void CountObj(const HObject& objects, HTuple* number) {
  operate("CountObj", [&] { *number = static_cast<Hlong>(objects_of(objects).size()); });
}

// An index may be given more than once; no index gives an empty tuple.
void SelectObj(const HObject& objects, HObject* selected, const HTuple& index) {
  operate("SelectObj", [&] {
    const auto& all = objects_of(objects);
    std::vector<ObjectRef> chosen;
    chosen.reserve(static_cast<std::size_t>(index.Length()));
    for (Hlong i = 0; i < index.Length(); ++i) chosen.push_back(numbered_object(all, Access::element(index, i)));
    *selected = make_object(std::move(chosen));
  });
}

void GetObjClass(const HObject& objects, HTuple* names) {
  operate("GetObjClass", [&] { *names = class_names(objects_of(objects)); });
}

// A tuple that is extended by itself grows in place, so that collecting n objects one by one takes time in proportion
// to n.
void ConcatObj(const HObject& objects1, const HObject& objects2, HObject* concat) {
  operate("ConcatObj", [&] {
    const auto& first = objects_of(objects1);
    const auto& second = objects_of(objects2);
    const ObjectTuple* tuple = Access::data(objects1);
    if (concat == &objects1 && &first != &second && tuple->is_unique())
      return const_cast<ObjectTuple*>(tuple)->append(second);
    std::vector<ObjectRef> all;
    all.reserve(first.size() + second.size());
    all.insert(all.end(), first.begin(), first.end());
    all.insert(all.end(), second.begin(), second.end());
    *concat = make_object(std::move(all));
  });
}

void GenEmptyObj(HObject* object) {
  operate("GenEmptyObj", [&] { *object = make_object(std::vector<ObjectRef>()); });
}

HImage::HImage(const HObject& object) : HObject(object) {
  operate("HImage", [&] { require_all(object, ObjectClass::Image); });
}

HRegion::HRegion(const HObject& object) : HObject(object) {
  operate("HRegion", [&] { require_all(object, ObjectClass::Region); });
}

}  // namespace HalconCpp
