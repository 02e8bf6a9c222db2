#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "container/format.h"
#include "container/parts.h"
#include "container/stream.h"
#include "core/access.h"
#include "core/failure.h"
#include "core/handle_data.h"
#include "core/limits.h"
#include "core/memory_limit.h"
#include "dicts/entry_table.h"
#include "dicts/matrix.h"
#include "dlmodels/dl_model.h"
#include "models3d/model3d.h"

namespace HalconCpp::detail::container {

namespace {

void write_table(Writer& out, const EntryTable& table, std::uint64_t next_part) {
  write_plain_tuple(out, table.keys());
  for (const Entry& entry : table.entries()) {
    if (!entry.holds_object()) {
      write_tuple(out, entry.tuple, next_part);
      continue;
    }
    out.value(Tag::Objects);
    write_objects(out, entry.object);
  }
}

template <class Data>
HHandle read_table(Reader& in, ReadParts& parts) {
  auto* data = new Data;
  HHandle handle = Access::wrap(data);
  const HTuple keys = read_plain_tuple(in);
  const auto count = static_cast<std::size_t>(keys.Length());
  if (count > in.left()) fail("a dictionary has more keys than values");
  charge_memory(sizeof(Data) + count * sizeof(Entry));
  data->table.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const HTuple key = Access::element(keys, static_cast<Hlong>(i));
    const auto tag = in.value<Tag>();
    if (tag == Tag::Objects)
      data->table.set(key, read_objects(in));
    else
      data->table.set(key, read_tuple(in, tag, parts));
    if (data->table.size() != i + 1) fail("a dictionary has a key twice");
  }
  return handle;
}

void write_matrix(Writer& out, const MatrixData& matrix) {
  out.value(matrix.rows);
  out.value(matrix.columns);
  write_plain_tuple(out, matrix.values);
}

HHandle read_matrix(Reader& in) {
  const auto rows = in.value<Hlong>();
  const auto columns = in.value<Hlong>();
  return new_matrix(rows, columns, read_plain_tuple(in));
}

void write_model(Writer& out, Model3dParts model) {
  out.value(model.faces);
  for (const HTuple* tuple : model.tuples()) write_plain_tuple(out, *tuple);
}

HHandle read_model(Reader& in) {
  Model3dParts model;
  model.faces = in.value<Hlong>();
  for (HTuple* tuple : model.tuples()) *tuple = read_plain_tuple(in);
  check(model);
  return Access::wrap(new Model3dData(std::move(model)));
}

}  // namespace

HHandle ReadParts::take(std::uint64_t number) {
  if (number == 0) return {};
  if (number > parts_.size() || parts_[number - 1].taken) fail("a handle refers to a part that is not there");
  Part& part = parts_[number - 1];
  part.taken = true;
  ++taken_;
  max_taken_depth_ = std::max(max_taken_depth_, part.depth);
  return std::move(part.handle);
}

void ReadParts::add(HHandle handle) {
  const int depth = std::exchange(max_taken_depth_, 0) + 1;
  if (depth > limits::nesting) fail("nested deeper than " + std::to_string(limits::nesting) + " levels");
  parts_.push_back({std::move(handle), depth});
}

HandleKind kind_of(const HandleData& handle) noexcept {
  if (is_a<DictData>(handle)) return HandleKind::Dict;
  if (is_a<MatrixData>(handle)) return HandleKind::Matrix;
  if (is_a<Model3dData>(handle)) return HandleKind::Model3d;
  return is_a<DlModelData>(handle) ? HandleKind::DlModel : HandleKind::None;
}

void write_handle(Writer& out, const HandleData& handle, std::uint64_t next_part) {
  if (is_a<MatrixData>(handle)) return write_matrix(out, static_cast<const MatrixData&>(handle));
  if (is_a<Model3dData>(handle)) return write_model(out, static_cast<const Model3dData&>(handle).parts());
  write_table(out, *handle.entries(), next_part);
}

HHandle read_handle(Reader& in, HandleKind kind, ReadParts& parts) {
  switch (kind) {
    case HandleKind::Dict:
      return read_table<DictData>(in, parts);
    case HandleKind::DlModel:
      return read_table<DlModelData>(in, parts);
    case HandleKind::Matrix:
      return read_matrix(in);
    case HandleKind::Model3d:
      return read_model(in);
    case HandleKind::None:
      break;
  }
  fail("holds a handle of an unknown type");
}

}  // namespace HalconCpp::detail::container
