#include <string>
#include <vector>

#include "HalconCreate.h"
#include "container/container.h"
#include "core/access.h"
#include "core/arguments.h"
#include "core/failure.h"
#include "core/file.h"
#include "dicts/entry_queries.h"
#include "models3d/mesh_file.h"
#include "models3d/model3d.h"

namespace HalconCpp {

namespace detail {

namespace {

HTuple new_model(Model3dParts parts) { return Access::handle_tuple(Access::wrap(new Model3dData(std::move(parts)))); }

const Model3dData& model_argument(const HTuple& handle) {
  const auto* model = dynamic_cast<const Model3dData*>(&handle_argument(handle, "the model"));
  if (!model) fail("the handle is no 3D object model");
  return *model;
}

// Coordinates stay as the file has them; a factor could only be asked for by a unit that the file does not know.
void check_scale(const HTuple& scale) {
  const TupleKind kind = Access::kind(scale);
  const bool metres = kind == TupleKind::String && Access::text(scale) == "m";
  const bool one = (kind == TupleKind::Integer || kind == TupleKind::Real) && scale[0].D() == 1;
  if (!metres && !one) fail("only the scale 'm' (or 1) is known, which leaves coordinates as they are");
}

void check_no_parameters(const HTuple& names, const HTuple& values) {
  if (names.Length() != values.Length())
    fail(std::to_string(names.Length()) + " names of parameters, but " + std::to_string(values.Length()) + " values");
  if (names.Length() > 0) fail("there are no generic parameters for reading a 3D model");
}

HTuple read_model(std::string_view path) {
  if (is_container(path)) return Access::handle_tuple(read_container_handle(path, "object_model_3d"));
  const Buffer<std::byte> file = read_file(path);
  const MeshReader* reader = find_mesh_reader(file, extension_of(path));
  if (!reader) reject_foreign_file(path);
  return new_model(reader->read(file));
}

HTuple reals_argument(const HTuple& numbers, const char* name) {
  const std::vector<double> values = number_arguments(numbers, name);
  Buffer<double> reals;
  reals.append(values.data(), values.size());
  return Access::reals(std::move(reals));
}

}  // namespace

}  // namespace detail

using detail::Access;
using detail::fail;
using detail::operate;

void ReadObjectModel3d(const HTuple& file, const HTuple& scale, const HTuple& gen_names, const HTuple& gen_values,
                       HTuple* model, HTuple* status) {
  operate("ReadObjectModel3d", [&] {
    const std::string_view path = detail::text_argument(file, "the file name");
    detail::check_scale(scale);
    detail::check_no_parameters(gen_names, gen_values);
    HTuple read = detail::in_file(path, [&] { return detail::read_model(path); });
    *status = HTuple();
    *model = std::move(read);
  });
}

void GetObjectModel3dParams(const HTuple& model, const HTuple& gen_names, HTuple* values) {
  operate("GetObjectModel3dParams", [&] {
    const detail::Model3dData& data = detail::model_argument(model);
    HTuple result;
    for (Hlong i = 0; i < gen_names.Length(); ++i) result.Append(data.parameter(Access::element(gen_names, i)));
    *values = std::move(result);
  });
}

void GenObjectModel3dFromPoints(const HTuple& x, const HTuple& y, const HTuple& z, HTuple* model) {
  operate("GenObjectModel3dFromPoints", [&] {
    if (x.Length() != y.Length() || x.Length() != z.Length()) fail("x, y and z differ in length");
    detail::Model3dParts parts;
    parts.x = detail::reals_argument(x, "x");
    parts.y = detail::reals_argument(y, "y");
    parts.z = detail::reals_argument(z, "z");
    *model = detail::new_model(std::move(parts));
  });
}

void GenSphereObjectModel3d(const HTuple& x, const HTuple& y, const HTuple& z, const HTuple& radius, HTuple* model) {
  operate("GenSphereObjectModel3d", [&] {
    detail::Model3dParts parts;
    for (const HTuple* value : {&x, &y, &z, &radius}) {
      if (value->Length() != 1) fail("a sphere has one x, y, z and radius");
      parts.primitive_values.Append(detail::reals_argument(*value, "each of them"));
    }
    if (!(parts.primitive_values[3].D() > 0)) fail("the radius must be above 0");
    parts.primitive_type = "sphere";
    *model = detail::new_model(std::move(parts));
  });
}

void WriteObjectModel3d(const HTuple& model, const HTuple& file) {
  operate("WriteObjectModel3d", [&] {
    const std::string_view path = detail::text_argument(file, "the file name");
    const detail::Model3dData& data = detail::model_argument(model);
    detail::in_file(path, [&] { detail::write_container_handle(path, data); });
  });
}

}  // namespace HalconCpp
