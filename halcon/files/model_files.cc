// The operators that read and write 3D models and deep-learning models: the built-in container and other formats.
#include <bit>
#include <cstddef>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "container/container.h"
#include "container/format.h"
#include "container/unknown_file.h"
#include "core/access.h"
#include "core/arguments.h"
#include "core/buffer.h"
#include "core/failure.h"
#include "core/file.h"
#include "core/handle_data.h"
#include "core/memory_limit.h"
#include "dlmodels/dl_model.h"
#include "models3d/mesh.h"
#include "models3d/mesh_file.h"
#include "models3d/model3d.h"
#include "unicode.h"

namespace HalconCpp {

using namespace detail;

namespace {

// Coordinates stay as the file has them. A factor would need the unit of the file, which the formats do not state.
void check_scale(const HTuple& scale) {
  const TupleKind kind = Access::kind(scale);
  const bool is_meters = kind == TupleKind::String && Access::text(scale) == "m";
  const bool is_one = (kind == TupleKind::Integer || kind == TupleKind::Real) && scale[0].D() == 1;
  if (!is_meters && !is_one) fail("the scale must be 'm' or 1, which leave coordinates as they are");
}

// The UTF-8 of a text file in UTF-16 with a byte order mark, as some Windows programs write OBJ; empty for any other.
std::string text_of_utf16(Bytes file) {
  const bool is_big = text_of(file).starts_with("\xFE\xFF");
  if (!is_big && !text_of(file).starts_with("\xFF\xFE")) return {};
  std::u16string units;
  const MemoryCharge charge(3 * file.size());
  for (std::size_t i = 2; i + 1 < file.size(); i += 2)
    units += is_big ? stored_value<char16_t, std::endian::big>(&file[i])
                    : stored_value<char16_t, std::endian::little>(&file[i]);
  return unicode::to_utf8(std::u16string_view(units));
}

HHandle read_model3d(std::string_view path) {
  if (is_container(path)) return read_container_handle(path, container::HandleKind::Model3d);
  const Buffer<std::byte> content = read_file(path);
  const std::string converted = text_of_utf16(content);
  const Bytes file = converted.empty() ? Bytes(content) : std::as_bytes(std::span(converted));
  const MeshReader* reader = find_mesh_reader(file, extension_of(path));
  if (!reader) reject_file(path, model3d_file);
  return Access::wrap(new Model3dData(reader->read(file)));
}

// ONNX has no magic: any file that is not a container is tried as one.
HHandle read_dl_model(std::string_view path) {
  if (is_container(path)) return read_container_handle(path, container::HandleKind::DlModel);
  if (extension_of(path) == "hdl") reject_file(path, dl_model_file);
  return read_onnx(read_file(path));
}

template <class Data>
void write_model(const HTuple& model, const HTuple& file) {
  const std::string_view path = text_argument(file, "the file name");
  const HandleData& data = handle_cast<Data>(handle_argument(model, "the model"));
  in_file(path, [&] { write_container_handle(path, data); });
}

}  // namespace

void ReadObjectModel3d(const HTuple& file, const HTuple& scale, const HTuple& gen_names, const HTuple& gen_values,
                       HTuple* model, HTuple* status) {
  operate("ReadObjectModel3d", [&] {
    const std::string_view path = text_argument(file, "the file name");
    check_scale(scale);
    if (gen_names.Length() > 0 || gen_values.Length() > 0)
      fail("there are no generic parameters for reading a 3D model");
    HTuple read = Access::handle_tuple(in_file(path, [&] { return read_model3d(path); }));
    *status = HTuple();
    *model = std::move(read);
  });
}

void WriteObjectModel3d(const HTuple& model, const HTuple& file) {
  operate("WriteObjectModel3d", [&] { write_model<Model3dData>(model, file); });
}

void HDlModel::ReadDlModel(const HString& file) {
  operate("ReadDlModel", [&] {
    const std::string_view path = Access::view(file);
    Access::replace(*this, in_file(path, [&] { return read_dl_model(path); }));
  });
}

void WriteDlModel(const HTuple& model, const HTuple& file) {
  operate("WriteDlModel", [&] { write_model<DlModelData>(model, file); });
}

}  // namespace HalconCpp
