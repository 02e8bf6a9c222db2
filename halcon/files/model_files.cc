// The operators that read and write 3D models and deep-learning models: the built-in container and other formats.
#include <bit>
#include <cstddef>
#include <new>
#include <optional>
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

struct Utf16 {
  bool is_big;
  std::size_t mark;  // bytes of the byte order mark
};

// Whether a text file is in UTF-16, as some Windows programs write OBJ. Without a byte order mark, two ASCII characters
// at the start tell: no text in UTF-8 has a NUL beside them.
std::optional<Utf16> find_utf16(std::string_view text) {
  if (text.starts_with("\xFE\xFF")) return Utf16{true, 2};
  if (text.starts_with("\xFF\xFE")) return Utf16{false, 2};
  if (text.size() < 4) return {};
  const auto is_ascii = [&](std::size_t i) { return text[i] != 0 && static_cast<unsigned char>(text[i]) < 0x80; };
  if (!text[0] && is_ascii(1) && !text[2] && is_ascii(3)) return Utf16{true, 0};
  if (is_ascii(0) && !text[1] && is_ascii(2) && !text[3]) return Utf16{false, 0};
  return {};
}

// The UTF-8 of a text file in UTF-16; empty for any other.
std::string text_of_utf16(Bytes file) {
  const auto utf16 = find_utf16(text_of(file));
  if (!utf16) return {};
  std::u16string units;
  const MemoryCharge charge(3 * file.size());
  for (std::size_t i = utf16->mark; i + 1 < file.size(); i += 2)
    units += utf16->is_big ? stored_value<char16_t, std::endian::big>(&file[i])
                           : stored_value<char16_t, std::endian::little>(&file[i]);
  return unicode::to_utf8(std::u16string_view(units));
}

HHandle read_model3d(std::string_view path) {
  if (is_container(path)) return read_container_handle(path, container::HandleKind::Model3d);
  const Buffer<std::byte> content = read_file(path);
  // A binary STL begins with 80 bytes of any content.
  const bool is_stl = stl_reader.recognizes(content, "");
  const std::string converted = is_stl ? std::string() : text_of_utf16(content);
  const Bytes file = converted.empty() ? Bytes(content) : std::as_bytes(std::span(converted));
  const MeshReader* reader = find_mesh_reader(file, extension_of(path));
  if (!reader) reject_file(path, model3d_file);
  return Access::wrap(new Model3dData(reader->read(file)));
}

// ONNX has no magic: any file that is not a container is tried as one.
HHandle read_dl_model(std::string_view path) {
  if (is_container(path)) return read_container_handle(path, container::HandleKind::DlModel);
  if (extension_of(path) == "hdl") reject_file(path, dl_model_file);
  InputFile file(path);
  return read_onnx(file);
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
