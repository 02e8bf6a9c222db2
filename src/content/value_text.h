// The values of control tuples and the texts that show them.
#ifndef QUOVEL_CONTENT_VALUE_TEXT_H
#define QUOVEL_CONTENT_VALUE_TEXT_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "HalconCpp.h"
#include "content/long_text.h"
#include "tree/node.h"

namespace quovel {

// What the elements of a tuple are: one flag per element, non-zero meaning yes; neither is a real (or a handle).
struct ElementFlags {
  HalconCpp::HTuple is_string, is_integer;
};
ElementFlags element_flags(const HalconCpp::HTuple& tuple);

// What HALCON tells of a tuple of several elements that all are integers, all reals or all strings: one question that
// spares several per element. Nothing means unknown.
std::optional<ValueType> common_plain_type(const HalconCpp::HTuple& tuple);

NodeValue make_tuple_value(Tree& tree, const HalconCpp::HTuple& tuple, HalconCpp::Hlong index,
                           const ElementFlags& flags);
// The element is of that type.
NodeValue make_tuple_value(Tree& tree, const HalconCpp::HTuple& tuple, HalconCpp::Hlong index, ValueType type);
// "integer", "real", "string".
std::u16string_view plain_type_name(ValueType type) noexcept;

// Appends a string between single quotes, an integer in decimal, a real with six significant digits.
void format_value(std::u16string& text, const NodeValue& value);

// "[]", one value, or up to four in brackets with ", ..." when `count` is more.
Text summarize_values(Tree& tree, std::span<const NodeValue> values, std::uint32_t count);

// The common semantic type with the element count, "tuple[n]" when the types differ; `count` is the tuple's length.
Text tuple_type_label(Tree& tree, const HalconCpp::HTuple& tuple, HalconCpp::Hlong count);
Text counted_type_label(Tree& tree, std::u16string_view type, HalconCpp::Hlong count);

// All elements of a value node's tuple, with a NUL behind them; empty for null and for nodes of another kind.
LongText full_value_text(const Node* node);

}  // namespace quovel

#endif
