#include "container/unknown_file.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "container/container.h"
#include "core/failure.h"
#include "core/file.h"

namespace HalconCpp::detail {

namespace {

using container::HandleKind;

struct Root {
  HandleKind kind;
  std::string_view name;
  std::string_view opened_by;
};

constexpr Root roots[] = {{HandleKind::None, "iconic objects", "ReadObject"},
                          {HandleKind::Dict, "a dictionary", "ReadDict"},
                          {HandleKind::Model3d, "a 3D object model", "ReadObjectModel3d"},
                          {HandleKind::DlModel, "a deep-learning model", "ReadDlModel"}};

// The operators that open other files, by extension: these formats have no magic, or one of another operator.
struct Opener {
  std::string_view extension, opener, content;
};
constexpr Opener openers[] = {{"json", "ReadDict", dict_file},
                              {"onnx", "ReadDlModel", dl_model_file},
                              {"ply", "ReadObjectModel3d", model3d_file},
                              {"obj", "ReadObjectModel3d", model3d_file},
                              {"stl", "ReadObjectModel3d", model3d_file},
                              {"off", "ReadObjectModel3d", model3d_file}};

constexpr std::string_view halcon_extensions[] = {"hobj", "hdict", "om3", "hdl",     "dl", "reg",
                                                  "plg",  "mtx",   "tup", "hhandle", "ima"};

}  // namespace

void reject_root(HandleKind root) {
  const auto* known = std::find_if(std::begin(roots), std::end(roots), [=](const Root& r) { return r.kind == root; });
  if (known == std::end(roots)) fail("holds content of an unknown type");
  fail("holds " + std::string(known->name) + ": " + std::string(known->opened_by) + " opens it");
}

void reject_file(std::string_view path, std::string_view wanted) {
  if (is_container(path)) reject_root(container_root(path));
  const std::string extension = extension_of(path);
  if (std::count(std::begin(halcon_extensions), std::end(halcon_extensions), extension) > 0)
    fail("is not in the format of the built-in layer; opening files of an installed HALCON needs a build against it");
  const std::string reason = "is not " + std::string(wanted) + " of a known format";
  for (const auto& [known, opener, content] : openers)
    if (extension == known && wanted != content)
      fail(reason + "; " + std::string(opener) + " opens files named ." + extension);
  fail(reason);
}

}  // namespace HalconCpp::detail
