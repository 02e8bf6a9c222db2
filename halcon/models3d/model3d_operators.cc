#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "core/access.h"
#include "core/arguments.h"
#include "core/buffer.h"
#include "core/failure.h"
#include "core/handle_data.h"
#include "models3d/model3d.h"

namespace HalconCpp {

using namespace detail;

namespace {

HTuple new_model(Model3dParts parts) { return Access::handle_tuple(Access::wrap(new Model3dData(std::move(parts)))); }

HTuple reals_argument(const HTuple& numbers, const char* name) {
  const std::vector<double> values = number_arguments(numbers, name);
  Buffer<double> reals;
  reals.append(values.data(), values.size());
  return Access::reals(std::move(reals));
}

}  // namespace

void GetObjectModel3dParams(const HTuple& model, const HTuple& gen_names, HTuple* values) {
  operate("GetObjectModel3dParams", [&] {
    const Model3dData& data = handle_cast<Model3dData>(handle_argument(model, "the model"));
    HTuple result;
    for (Hlong i = 0; i < gen_names.Length(); ++i) result.Append(data.parameter(Access::element(gen_names, i)));
    *values = std::move(result);
  });
}

void GenObjectModel3dFromPoints(const HTuple& x, const HTuple& y, const HTuple& z, HTuple* model) {
  operate("GenObjectModel3dFromPoints", [&] {
    if (x.Length() != y.Length() || x.Length() != z.Length()) fail("x, y and z differ in length");
    Model3dParts parts;
    parts.x = reals_argument(x, "x");
    parts.y = reals_argument(y, "y");
    parts.z = reals_argument(z, "z");
    *model = new_model(std::move(parts));
  });
}

void GenSphereObjectModel3d(const HTuple& x, const HTuple& y, const HTuple& z, const HTuple& radius, HTuple* model) {
  operate("GenSphereObjectModel3d", [&] {
    Model3dParts parts;
    for (const HTuple* value : {&x, &y, &z, &radius}) {
      if (value->Length() != 1) fail("a sphere has one x, y, z and radius");
      parts.primitive_values.Append(reals_argument(*value, "each of them"));
    }
    if (!(parts.primitive_values[3].D() > 0)) fail("the radius must be above 0");
    parts.primitive_type = "sphere";
    *model = new_model(std::move(parts));
  });
}

}  // namespace HalconCpp
