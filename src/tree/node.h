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

// What only nodes of iconic objects and of handles shown as a whole have.
struct ObjectPart : ObjectFields {
  HalconCpp::HObject held_object;  // unset for handles
};

// One node. Its texts, values and children live in its tree's memory; it never changes once its parse has ended.
struct Node {
  Text label = empty_text;
  Text type_label = empty_text;
  Text value_summary = empty_text;
  HalconCpp::HTuple held_tuple;  // the tuple of a value node
  Node** children = nullptr;
  NodeValue* values = nullptr;
  ObjectPart* object = nullptr;  // null: as a default-made one
  std::uint32_t child_count = 0;
  std::uint32_t child_capacity = 0;
  std::uint32_t value_count = 0;
  std::uint32_t total_count = 0;
  std::uint32_t path_index = 0;
  NodeKind kind = NodeKind::Dict;
  PathSegmentKind path_segment_kind = PathSegmentKind::Key;
  bool truncated = false;  // fewer values were kept than total_count
};

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
  Node& make_node(NodeKind kind, Text label, PathSegment segment);
  // Makes room for that many children in one block.
  void reserve_children(Node& parent, std::size_t count);
  // Adds a node of this tree as the parent's last child.
  void append_child(Node& parent, Node& child);
  // Makes a node and adds it.
  Node& add_child(Node& parent, NodeKind kind, Text label, PathSegment segment);
  // The parent has a child.
  void remove_last_child(Node& parent) noexcept { --parent.child_count; }
  // Resets the node to a new one that keeps its label and its path segment.
  void clear(Node& node);
  // Gives the node its object part; once per node.
  ObjectPart& make_object_part(Node& node);
  // Room for values and lines; the caller fills them.
  NodeValue* make_values(std::size_t count) { return arena_.allocate<NodeValue>(count); }
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
  const DictQueries& dict_queries() { return dict_queries_ ? *dict_queries_ : dict_queries_.emplace(); }
  // A text, and the same between single quotes.
  struct QuotedText {
    Text plain, quoted;
  };
  QuotedText quoted_text(const HalconCpp::HString& string);
  // An empty string in which to put a text together. It is the same string each time: use it for one text at a time.
  std::u16string& scratch() noexcept {
    scratch_.clear();
    return scratch_;
  }

  Node* root = nullptr;

 private:
  struct Slab;

  // Writes the text without a NUL into a block of its own, with room for `more` units after it.
  std::span<char16_t> write_text(const HalconText& from, std::size_t more);

  Arena arena_;
  Slab* slabs_ = nullptr;                   // newest first
  std::array<CachedKey, 128> cached_keys_;  // by address
  std::optional<DictQueries> dict_queries_;
  std::u16string scratch_;
};

}  // namespace quovel

#endif
