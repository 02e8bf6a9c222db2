#include "HalconCreate.h"
#include "container/container.h"
#include "core/access.h"
#include "core/arguments.h"
#include "core/failure.h"
#include "core/file.h"
#include "dicts/entry_queries.h"
#include "dlmodels/dl_model.h"

namespace HalconCpp {

namespace detail {

#if !HALCONCPP_HAVE_ONNX
HHandle read_onnx(std::span<const std::byte>) { fail("this build reads no ONNX files (built without libonnx)"); }
#endif

namespace {

// ONNX has no magic: what is no container and not named as one is tried.
HHandle read_dl_model(std::string_view path) {
  if (is_container(path)) return read_container_handle(path, "dl_model");
  if (extension_of(path) == "hdl") reject_foreign_file(path);
  return read_onnx(read_file(path));
}

}  // namespace

}  // namespace detail

using detail::Access;
using detail::fail;
using detail::operate;

void HDlModel::ReadDlModel(const HString& file) {
  operate("ReadDlModel", [&] {
    const std::string_view path = Access::view(file);
    Access::replace(*this, detail::in_file(path, [&] { return detail::read_dl_model(path); }));
  });
}

void CreateDlModel(const HTuple& dict, HTuple* model) {
  operate("CreateDlModel", [&] {
    const auto& from = detail::require_dict(&detail::handle_argument(dict, "the dictionary")).table;
    auto* data = new detail::DlModelData;
    HTuple created = Access::handle_tuple(Access::wrap(data));
    data->table.adopt(from.keys(), {from.entries().begin(), from.entries().end()});
    *model = std::move(created);
  });
}

void WriteDlModel(const HTuple& model, const HTuple& file) {
  operate("WriteDlModel", [&] {
    const std::string_view path = detail::text_argument(file, "the file name");
    const detail::HandleData& data = detail::handle_argument(model, "the model");
    if (!dynamic_cast<const detail::DlModelData*>(&data)) fail("the handle is no deep-learning model");
    detail::in_file(path, [&] { detail::write_container_handle(path, data); });
  });
}

}  // namespace HalconCpp
