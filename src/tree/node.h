// The tree of nodes that every file becomes. A Tree owns everything in it; a node and its texts live as long as it
// does. No function here calls HALCON, except for copying what a node holds. Each may throw std::bad_alloc.
#ifndef QUOVEL_TREE_NODE_H
#define QUOVEL_TREE_NODE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "HalconCpp.h"
#include "tree/arena.h"

namespace quovel {

class HalconText;

// NUL-terminated UTF-16 that lives as long as its tree; never null.
using Text = const char16_t*;
inline constexpr char16_t empty_text[1] = {};

// The numbers are part of the host interface.
enum class NodeKind : std::uint8_t { Dict = 0, Array = 1, Value = 2, Object = 3 };
enum class PathSegmentKind : std::uint8_t { Key = 0, Index = 1 };
enum class ValueType : std::uint8_t { String = 0, Integer = 1, Real = 2 };

// How a node is addressed in its parent: by its label, or by a 0-based index.
struct PathSegment {
  PathSegmentKind kind = PathSegmentKind::Key;
  std::uint32_t index = 0;
};
inline constexpr PathSegment by_key{};
constexpr PathSegment by_index(std::uint32_t index) noexcept { return {PathSegmentKind::Index, index}; }

// One typed value. The readings of another type are empty or 0.
class NodeValue {
 public:
  static NodeValue of_string(Text text) noexcept { return NodeValue(text); }
  static NodeValue of_integer(std::int64_t value) noexcept { return NodeValue(value); }
  static NodeValue of_real(double value) noexcept { return NodeValue(value); }

  ValueType type() const noexcept { return type_; }
  Text text() const noexcept { return type_ == ValueType::String ? text_ : empty_text; }
  std::int64_t int_value() const noexcept { return type_ == ValueType::Integer ? integer_ : 0; }
  double real_value() const noexcept { return type_ == ValueType::Real ? real_ : 0.0; }

 private:
  explicit NodeValue(Text text) noexcept : text_(text), type_(ValueType::String) {}
  explicit NodeValue(std::int64_t value) noexcept : integer_(value), type_(ValueType::Integer) {}
  explicit NodeValue(double value) noexcept : real_(value), type_(ValueType::Real) {}

  union {
    Text text_;
    std::int64_t integer_;
    double real_;
  };
  ValueType type_;
};

// What the accessors return for nodes of iconic objects and of handles shown as a whole. For all other nodes they
// return the defaults.
struct ObjectFields {
  Text object_class = empty_text;
  std::span<Text> detail_lines;
  std::uint32_t object_count = 1;
  std::uint32_t detail_entry_count = 0;  // objects that the detail lines describe
  bool is_image = false;                 // the first object is one
};

// The type labels that a node refers to by number. `Own` is a text of the node.
enum class TypeName : std::uint8_t {
  None,
  Dict,
  Array,
  Integer,
  Real,
  String,
  Element,
  UnsupportedHandle,
  Unsupported,
  Error,
  File,
  Own
};
inline constexpr Text type_names[] = {u"",
                                      u"dict",
                                      u"array",
                                      u"integer",
                                      u"real",
                                      u"string",
                                      u"tuple[1]",
                                      u"<unsupported handle>",
                                      u"<unsupported>",
                                      u"<error>",
                                      u"file"};

constexpr TypeName type_name(ValueType type) noexcept {
  return type == ValueType::Integer ? TypeName::Integer : type == ValueType::Real ? TypeName::Real : TypeName::String;
}

// Values of a node that has several, or none, with a type label of their own.
struct ValueBlock {
  Text type_label = empty_text;
  NodeValue* values = nullptr;
};

struct RareFields;

// One node, of 40 bytes: most nodes of most files stand for one plain value, and files have millions of them. Its
// texts, values and children live in its tree's memory; it never changes once its parse has ended.
class Node {
 public:
  Text label = empty_text;
  Text value_summary = empty_text;

  Text type_label() const noexcept;
  // A node with values has no children.
  std::uint32_t value_count() const noexcept;
  // i < value_count().
  NodeValue value(std::uint32_t i) const noexcept;
  // The number of values that the node stands for; more than it has when it was truncated.
  std::uint32_t total_count() const noexcept;
  bool truncated() const noexcept { return total_count() > value_count(); }
  // The children, one after the other, and their number.
  Node* children() const noexcept;
  std::uint32_t child_count() const noexcept { return form_ == Form::Children || form_ == Form::Rare ? count_ : 0; }
  // Null: the node has none of them.
  const RareFields* rare() const noexcept { return form_ == Form::Rare ? content_.rare : nullptr; }

  std::uint32_t path_index = 0;
  NodeKind kind = NodeKind::Dict;
  PathSegmentKind path_segment_kind = PathSegmentKind::Key;
  TypeName type = TypeName::None;

 private:
  friend class Tree;
  // What `content_` holds: one value, a block of them, children, or something rare.
  enum class Form : std::uint8_t { Children, Integer, Real, String, Values, Rare };
  union Content {
    Node* children = nullptr;
    std::int64_t integer;
    double real;
    Text text;
    ValueBlock* values;
    RareFields* rare;
  };

  Form form_ = Form::Children;
  std::uint32_t count_ = 0;     // of children, or of the values of a block
  std::uint32_t capacity_ = 0;  // for children
  Content content_;
};
static_assert(sizeof(void*) != 8 || sizeof(Node) == 40);

// What few nodes have: iconic objects, handles, truncated values.
struct RareFields : ObjectFields {
  Text type_label = empty_text;
  Node* children = nullptr;
  ValueBlock* values = nullptr;
  std::uint32_t value_count = 0;
  std::uint32_t total_count = 0;
  HalconCpp::HTuple held_tuple;    // of truncated values: all of them
  HalconCpp::HObject held_object;  // unset for handles
  RareFields* next = nullptr;      // of the same tree
};

inline Text Node::type_label() const noexcept {
  if (type != TypeName::Own) return type_names[static_cast<std::size_t>(type)];
  return form_ == Form::Values ? content_.values->type_label : content_.rare->type_label;
}

inline std::uint32_t Node::value_count() const noexcept {
  if (form_ == Form::Values) return count_;
  if (form_ == Form::Rare) return content_.rare->value_count;
  return form_ == Form::Children ? 0 : 1;
}

inline std::uint32_t Node::total_count() const noexcept {
  return form_ == Form::Rare ? content_.rare->total_count : value_count();
}

inline NodeValue Node::value(std::uint32_t i) const noexcept {
  switch (form_) {
    case Form::Integer:
      return NodeValue::of_integer(content_.integer);
    case Form::Real:
      return NodeValue::of_real(content_.real);
    case Form::String:
      return NodeValue::of_string(content_.text);
    case Form::Values:
      return content_.values->values[i];
    default:
      return content_.rare->values->values[i];
  }
}

inline Node* Node::children() const noexcept {
  if (form_ == Form::Rare) return content_.rare->children;
  return form_ == Form::Children ? content_.children : nullptr;
}

// The names of the queries that every dictionary is asked, made once.
struct DictQueries {
  HalconCpp::HTuple keys{"keys"};
  HalconCpp::HTuple key_data_type{"key_data_type"};
};

// Owns all nodes that were made in it and everything they refer to, also nodes without a parent (a key that failed was
// removed). Destroying a tree walks no levels and needs no stack, however deep it is.
class Tree {
 public:
  Tree() = default;
  ~Tree();
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;

  Node& make_node();
  // Room for the parent's children, once and before the first: they lie in one block, and more than that many would
  // have to move.
  void reserve_children(Node& parent, std::size_t count);
  // Makes a node after the parent's other children. When there is no room for it, the others move.
  Node& add_child(Node& parent, NodeKind kind, Text label, PathSegment segment);
  // The parent has a child.
  void remove_last_child(Node& parent) noexcept { --parent.count_; }
  // Resets the node to a new one that keeps its label and its path segment.
  void clear(Node& node) noexcept;
  // A type label that has no name. The node's values are made before it.
  void set_type_label(Node& node, Text label);
  // Gives a new node its one value.
  void set_value(Node& node, const NodeValue& value) noexcept;
  // Gives a new node that many values, which the caller fills.
  std::span<NodeValue> make_values(Node& node, std::size_t count);
  // What the node stands for when it is more than the values that it has.
  void set_truncated(Node& node, HalconCpp::HTuple held_tuple);
  // The rare fields of the node, made when it has none. Not for a node of one value.
  RareFields& make_rare(Node& node);
  std::span<Text> make_lines(std::size_t count);

  Text text(std::u16string_view text);
  // As append_count writes it.
  Text count_text(std::int64_t count, std::u16string_view one, std::u16string_view many);
  Text text(const HalconCpp::HString& string);
  // A key, and its text as a label. Dictionaries of one kind share the texts of their keys in the built-in layer, so
  // that the address finds them again: 12 % of the time of opening a catalogue. Valid until the next call.
  struct CachedKey {
    HalconCpp::HString string;  // keeps the address from being used for another text
    const void* address = nullptr;
    HalconCpp::HTuple key;
    Text label = empty_text;
  };
  const CachedKey& cached_key(const HalconCpp::HString& string);
  // The digits of a small number, cached: arrays of arrays are dictionaries with such keys.
  Text number_text(std::int64_t number);
  // "integer[3]", cached for few elements.
  Text counted_type_label(ValueType type, std::int64_t count);
  const DictQueries& dict_queries() { return dict_queries_ ? *dict_queries_ : dict_queries_.emplace(); }
  // Whether HALCON's name of a data type is "tuple". It is asked for every entry, and HALCON shares the name, so that
  // its address tells.
  bool is_tuple(const HalconCpp::HString& data_type);
  // A text, and the same between single quotes.
  struct QuotedText {
    Text plain, quoted;
  };
  // Words that HALCON shares, like "true", are converted once.
  QuotedText quoted_text(const HalconCpp::HString& string);
  // An empty string in which to put a text together. It is the same string each time: use it for one text at a time.
  std::u16string& scratch() noexcept {
    scratch_.clear();
    return scratch_;
  }

  Node* root = nullptr;

 private:
  struct CachedWord {
    HalconCpp::HString string;  // as in CachedKey
    const void* address = nullptr;
    QuotedText text{};
  };

  // Writes the text without a NUL into a block of its own, with room for `more` units after it.
  std::span<char16_t> write_text(const HalconText& from, std::size_t more);
  QuotedText make_quoted_text(const HalconText& string);

  Arena arena_;
  RareFields* rare_ = nullptr;              // of all nodes, newest first
  std::array<CachedKey, 128> cached_keys_;  // by address
  std::array<CachedWord, 8> cached_words_;  // by address
  std::array<Text, 256> cached_numbers_{};
  std::array<std::array<Text, 16>, 3> cached_labels_{};  // by type and count
  struct {
    HalconCpp::HString string;  // as in CachedKey
    const void* address = nullptr;
  } tuple_name_;
  std::optional<DictQueries> dict_queries_;
  std::u16string scratch_;
};

}  // namespace quovel

#endif
