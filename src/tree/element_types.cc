#include "tree/element_types.h"

#include <string>
#include <string_view>

namespace quovel {

using HalconCpp::Hlong;
using HalconCpp::HTuple;

namespace {

// Only saves time: when HALCON does not answer, each element is asked for its type.
std::optional<ValueType> plain_type(const HTuple& tuple) try {
  const HalconCpp::HString type = tuple.TupleSemType()[0].S();
  const std::string_view name = type.Text();
  if (name == "integer") return ValueType::Integer;
  if (name == "real") return ValueType::Real;
  if (name == "string") return ValueType::String;
  return std::nullopt;
} catch (const HalconCpp::HException&) {
  return std::nullopt;
}

bool any(const HTuple& flags) {
  for (Hlong i = 0; i < flags.Length(); ++i)
    if (flags[i].L() != 0) return true;
  return false;
}

}  // namespace

// For one element the flags are quicker than the name of the type, a text that would have to be compared.
void ElementTypes::ask_single(const HTuple& tuple) {
  if (tuple.TupleIsStringElem()[0].L() != 0) {
    common_ = ValueType::String;
  } else if (tuple.TupleIsIntElem()[0].L() != 0) {
    common_ = ValueType::Integer;
  } else {
    handle_flags_ = tuple.TupleIsHandleElem();
    has_handle_ = any(handle_flags_);
    if (!has_handle_) common_ = ValueType::Real;
  }
}

void ElementTypes::ask_all(const HTuple& tuple) {
  common_ = plain_type(tuple);
  if (common_) return;
  handle_flags_ = tuple.TupleIsHandleElem();
  has_handle_ = any(handle_flags_);
  string_flags_ = tuple.TupleIsStringElem();
  integer_flags_ = tuple.TupleIsIntElem();
}

ElementTypes::ElementTypes(const HTuple& tuple) {
  const Hlong count = tuple.Length();
  if (count == 1) ask_single(tuple);
  if (count > 1) ask_all(tuple);
}

ValueType ElementTypes::value_type(Hlong index) const {
  if (common_) return *common_;
  if (string_flags_[index].L() != 0) return ValueType::String;
  return integer_flags_[index].L() != 0 ? ValueType::Integer : ValueType::Real;
}

}  // namespace quovel
