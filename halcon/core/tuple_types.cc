// Flags and types of a tuple's elements, one answer per element.
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "core/access.h"
#include "core/buffer.h"
#include "core/failure.h"
#include "core/handle_data.h"

namespace HalconCpp {

using detail::Access;
using detail::TupleKind;

const char* Access::type_name(const HTuple& element) noexcept {
  switch (Access::kind(element)) {
    case TupleKind::Integer:
      return "integer";
    case TupleKind::Real:
      return "real";
    case TupleKind::String:
      return "string";
    default:
      return Access::handle_data(element) ? Access::handle_data(element)->semantic_type() : "handle";
  }
}

namespace {

HTuple kind_flags(const HTuple& tuple, TupleKind wanted) {
  const Hlong count = tuple.Length();
  if (count == 1) return Hlong{Access::element_kind(tuple, 0) == wanted};
  if (count == 0) return {};
  const TupleKind kind = Access::common_kind(tuple);
  if (kind != TupleKind::Array) return Access::repeat(kind == wanted ? 1 : 0, count);
  detail::Buffer<Hlong> flags(static_cast<std::size_t>(count));
  for (Hlong i = 0; i < count; ++i) flags[static_cast<std::size_t>(i)] = Access::element_kind(tuple, i) == wanted;
  return Access::integers(std::move(flags));
}

// The names that make up nearly all answers are made once, and never destroyed: hosts may ask while the process ends.
struct TypeNames {
  HTuple integer = Access::permanent_text("integer");
  HTuple real = Access::permanent_text("real");
  HTuple string = Access::permanent_text("string");
  HTuple dict = Access::permanent_text("dict");
};

HTuple type_tuple(const HTuple& tuple, Hlong index) {
  static const auto& names = *new TypeNames;
  switch (Access::element_kind(tuple, index)) {
    case TupleKind::Integer:
      return names.integer;
    case TupleKind::Real:
      return names.real;
    case TupleKind::String:
      return names.string;
    default:
      break;
  }
  const std::string_view name = Access::type_name(Access::element(tuple, index));
  return Access::text(names.dict) == name ? names.dict : Access::text_tuple(name);
}

HTuple type_tuples(const HTuple& tuple) {
  const Hlong count = tuple.Length();
  if (count == 1) return type_tuple(tuple, 0);
  const TupleKind kind = Access::common_kind(tuple);
  if (kind == TupleKind::Empty) return {};
  if (kind != TupleKind::Array && kind != TupleKind::Handle) return Access::repeat(type_tuple(tuple, 0), count);
  std::vector<HTuple> types;
  types.reserve(static_cast<std::size_t>(count));
  for (Hlong i = 0; i < count; ++i) types.push_back(type_tuple(tuple, i));
  return Access::elements(std::move(types));
}

HTuple common_type(const HTuple& tuple) {
  if (tuple.Length() == 0) return Access::text_tuple("any");
  HTuple first = type_tuple(tuple, 0);
  if (Access::common_kind(tuple) != TupleKind::Array && Access::common_kind(tuple) != TupleKind::Handle) return first;
  for (Hlong i = 1; i < tuple.Length(); ++i)
    if (Access::type_name(Access::element(tuple, i)) != Access::text(first)) return Access::text_tuple("mixed");
  return first;
}

}  // namespace

HTuple HTuple::TupleIsHandleElem() const {
  return detail::operate("TupleIsHandleElem", [&] { return kind_flags(*this, TupleKind::Handle); });
}
HTuple HTuple::TupleIsStringElem() const {
  return detail::operate("TupleIsStringElem", [&] { return kind_flags(*this, TupleKind::String); });
}
HTuple HTuple::TupleIsIntElem() const {
  return detail::operate("TupleIsIntElem", [&] { return kind_flags(*this, TupleKind::Integer); });
}
HTuple HTuple::TupleSemType() const {
  return detail::operate("TupleSemType", [&] { return common_type(*this); });
}
HTuple HTuple::TupleSemTypeElem() const {
  return detail::operate("TupleSemTypeElem", [&] { return type_tuples(*this); });
}

void TupleIsHandleElem(const HTuple& t, HTuple* flags) { *flags = t.TupleIsHandleElem(); }
void TupleIsStringElem(const HTuple& t, HTuple* flags) { *flags = t.TupleIsStringElem(); }
void TupleIsIntElem(const HTuple& t, HTuple* flags) { *flags = t.TupleIsIntElem(); }
void TupleSemType(const HTuple& t, HTuple* name) { *name = t.TupleSemType(); }
void TupleSemTypeElem(const HTuple& t, HTuple* names) { *names = t.TupleSemTypeElem(); }

}  // namespace HalconCpp
