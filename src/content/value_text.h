// The values of control tuples and the texts that show them.
#ifndef QUOVEL_CONTENT_VALUE_TEXT_H
#define QUOVEL_CONTENT_VALUE_TEXT_H

#include <cstdint>
#include <span>
#include <string>

#include "HalconCpp.h"
#include "content/long_text.h"
#include "tree/element_types.h"
#include "tree/node.h"

namespace quovel {

// The element is of that type.
NodeValue make_tuple_value(Tree& tree, const HalconCpp::HTuple& tuple, HalconCpp::Hlong index, ValueType type);

// Appends a string between single quotes, an integer in decimal, a real with six significant digits.
void format_value(std::u16string& text, const NodeValue& value);

// "[]", one value, or up to four in brackets with ", ..." when `count` is more.
Text summarize_values(Tree& tree, std::span<const NodeValue> values, std::uint32_t count);

// What HALCON calls the elements, with their number when there are several; "tuple[n]" when they differ. `count` is the
// tuple's length.
Text tuple_type_label(Tree& tree, const HalconCpp::HTuple& tuple, const ElementTypes& types, HalconCpp::Hlong count);

// All elements that a value node stands for, NUL-terminated; empty for null and for nodes of another kind. An
// HException means that HALCON cannot read the tuple of a truncated node.
LongText full_value_text(const Node* node);

}  // namespace quovel

#endif
