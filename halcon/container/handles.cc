#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "container/parts.h"
#include "core/failure.h"
#include "core/limits.h"
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

void read_table(Reader& in, EntryTable& table, ReadParts& parts) {
  const HTuple keys = read_plain_tuple(in);
  const auto count = static_cast<std::size_t>(keys.Length());
  if (count > in.left()) fail("a dictionary has more keys than values");
  table.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const HTuple key = Access::element(keys, static_cast<Hlong>(i));
    const auto tag = in.value<Tag>();
    if (tag == Tag::Objects)
      table.set(key, read_objects(in));
    else
      table.set(key, read_tuple(in, tag, parts));
    if (table.size() != i + 1) fail("a dictionary has a key twice");
  }
}

template <class Data>
HHandle read_dict(Reader& in, ReadParts& parts) {
  auto* data = new Data;
  HHandle handle = Access::wrap(data);
  read_table(in, data->table, parts);
  return handle;
}

// A tuple that was read is stored as mixed only when its elements differ.
bool holds_only(const HTuple& tuple, TupleKind kind) {
  if (Access::kind(tuple) == TupleKind::Empty) return true;
  if (Access::kind(tuple) == TupleKind::Array && Access::array(tuple).kind == ArrayKind::Mixed) return false;
  return Access::element_kind(tuple, 0) == kind;
}

void write_matrix(Writer& out, const MatrixData& matrix) {
  out.value(matrix.rows);
  out.value(matrix.columns);
  write_plain_tuple(out, matrix.values);
}

HHandle read_matrix(Reader& in) {
  auto* data = new MatrixData;
  HHandle handle = Access::wrap(data);
  data->rows = in.value<Hlong>();
  data->columns = in.value<Hlong>();
  data->values = read_plain_tuple(in);
  if (data->columns == 0 && data->rows > limits::empty_rows)
    fail("a matrix without columns has more than " + std::to_string(limits::empty_rows) + " rows");
  const bool possible = data->rows >= 0 && data->columns >= 0 &&
                        (data->columns == 0 || data->rows <= std::numeric_limits<Hlong>::max() / data->columns);
  if (!possible || data->rows * data->columns != data->values.Length() || !holds_only(data->values, TupleKind::Real))
    fail("the values of a matrix do not fit its size");
  return handle;
}

void check_columns(std::initializer_list<const HTuple*> columns, TupleKind kind, Hlong length) {
  for (const HTuple* column : columns)
    if (column->Length() != length || !holds_only(*column, kind)) fail("the columns of a 3D model do not fit");
}

// Integers from 0 to below `end`.
void check_range(const HTuple& integers, Hlong end) {
  if (!holds_only(integers, TupleKind::Integer)) fail("a 3D model has numbers of the wrong type");
  for (Hlong i = 0; i < integers.Length(); ++i)
    if (const Hlong value = integers[i].L(); value < 0 || value >= end)
      fail("a 3D model has " + std::to_string(value) + " where it can only have 0 to " + std::to_string(end - 1));
}

void check_model(const Model3dParts& model) {
  const Hlong points = model.x.Length();
  check_columns({&model.x, &model.y, &model.z}, TupleKind::Real, points);
  check_columns({&model.nx, &model.ny, &model.nz}, TupleKind::Real, model.nx.Length() > 0 ? points : 0);
  check_columns({&model.red, &model.green, &model.blue}, TupleKind::Integer, model.red.Length() > 0 ? points : 0);
  for (const HTuple* colour : {&model.red, &model.green, &model.blue}) check_range(*colour, 256);
  check_range(model.triangles, points);
  if (model.triangles.Length() % 3 != 0 || model.faces < 0) fail("the faces of a 3D model are incomplete");
  const Hlong primitives = model.primitive_type.Length();
  if (primitives > 1 || !holds_only(model.primitive_type, TupleKind::String))
    fail("a 3D model has a primitive of an unknown type");
  check_columns({&model.primitive_values}, TupleKind::Real, primitives * 4);
}

template <class Parts, class Visit>
void visit_tuples(Parts& model, Visit visit) {
  for (auto* tuple : {&model.x, &model.y, &model.z, &model.nx, &model.ny, &model.nz, &model.red, &model.green,
                      &model.blue, &model.triangles, &model.primitive_type, &model.primitive_values})
    visit(*tuple);
}

void write_model(Writer& out, const Model3dParts& model) {
  out.value(model.faces);
  visit_tuples(model, [&](const HTuple& tuple) { write_plain_tuple(out, tuple); });
}

HHandle read_model(Reader& in) {
  Model3dParts model;
  model.faces = in.value<Hlong>();
  visit_tuples(model, [&](HTuple& tuple) { tuple = read_plain_tuple(in); });
  check_model(model);
  return Access::wrap(new Model3dData(std::move(model)));
}

}  // namespace

HHandle ReadParts::take(std::uint64_t number) {
  if (number == 0) return {};
  if (number > parts_.size() || parts_[number - 1].taken) fail("a handle refers to a part that is not there");
  Part& part = parts_[number - 1];
  part.taken = true;
  ++taken_;
  deepest_taken_ = std::max(deepest_taken_, part.depth);
  return std::move(part.handle);
}

void ReadParts::add(HHandle handle) {
  const int depth = std::exchange(deepest_taken_, 0) + 1;
  if (depth > limits::nesting) fail("nested deeper than " + std::to_string(limits::nesting) + " levels");
  parts_.push_back({std::move(handle), depth});
}

HandleKind kind_of(const HandleData& handle) noexcept {
  if (dynamic_cast<const DictData*>(&handle)) return HandleKind::Dict;
  if (dynamic_cast<const MatrixData*>(&handle)) return HandleKind::Matrix;
  if (dynamic_cast<const Model3dData*>(&handle)) return HandleKind::Model3d;
  if (dynamic_cast<const DlModelData*>(&handle)) return HandleKind::DlModel;
  return HandleKind::None;
}

void write_handle(Writer& out, const HandleData& handle, std::uint64_t next_part) {
  switch (kind_of(handle)) {
    case HandleKind::Dict:
    case HandleKind::DlModel:
      return write_table(out, *handle.entries(), next_part);
    case HandleKind::Matrix:
      return write_matrix(out, static_cast<const MatrixData&>(handle));
    case HandleKind::Model3d:
      return write_model(out, static_cast<const Model3dData&>(handle).parts());
    case HandleKind::None:
      return;
  }
}

HHandle read_handle(Reader& in, HandleKind kind, ReadParts& parts) {
  switch (kind) {
    case HandleKind::Dict:
      return read_dict<DictData>(in, parts);
    case HandleKind::DlModel:
      return read_dict<DlModelData>(in, parts);
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
