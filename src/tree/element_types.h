// What the elements of a control tuple are, asked once per tuple.
#ifndef QUOVEL_TREE_ELEMENT_TYPES_H
#define QUOVEL_TREE_ELEMENT_TYPES_H

#include <optional>

#include "HalconCpp.h"
#include "tree/node.h"

namespace quovel {

// Asks for the type of the whole tuple first: most tuples are all integers, all reals or all strings. The elements are
// asked one by one only where that does not tell. An HException means that HALCON does not answer for the elements.
class ElementTypes {
 public:
  explicit ElementTypes(const HalconCpp::HTuple& tuple);

  // What all elements are; nothing for handles, for a mixture and for an empty tuple.
  std::optional<ValueType> common() const noexcept { return common_; }
  bool has_handle() const noexcept { return has_handle_; }
  bool is_single_handle() const noexcept { return has_handle_ && handle_flags_.Length() == 1; }
  bool is_handle(HalconCpp::Hlong index) const { return has_handle_ && handle_flags_[index].L() != 0; }
  // Of an element that is not a handle.
  ValueType value_type(HalconCpp::Hlong index) const;

 private:
  void ask_single(const HalconCpp::HTuple& tuple);
  void ask_all(const HalconCpp::HTuple& tuple);

  std::optional<ValueType> common_;
  bool has_handle_ = false;
  // One flag per element, non-zero meaning yes; empty where `common_` tells.
  HalconCpp::HTuple handle_flags_, string_flags_, integer_flags_;
};

}  // namespace quovel

#endif
