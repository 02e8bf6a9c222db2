// ReadObject and WriteObject: iconic objects in the built-in container.
#include <new>
#include <string_view>
#include <utility>

#include "HalconCpp.h"
#include "container/container.h"
#include "container/unknown_file.h"
#include "core/arguments.h"
#include "core/failure.h"

namespace HalconCpp {

using namespace detail;

void ReadObject(HObject* object, const HTuple& file) {
  operate("ReadObject", [&] {
    const std::string_view path = text_argument(file, "the file name");
    HObject objects = in_file(path, [&] {
      if (!is_container(path)) reject_file(path, object_file);
      return read_container_objects(path);
    });
    *object = std::move(objects);
  });
}

void WriteObject(const HObject& object, const HTuple& file) {
  operate("WriteObject", [&] {
    const std::string_view path = text_argument(file, "the file name");
    in_file(path, [&] { write_container_objects(path, object); });
  });
}

}  // namespace HalconCpp
