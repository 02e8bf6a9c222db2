#include "tree/node.h"

#include <algorithm>
#include <new>

#include "platform/text.h"

namespace quovel {

// Nodes stand in a few large slabs, in the order in which they were made: that is how they are destroyed again.
struct Tree::Slab {
  Slab* older;
  std::uint32_t used;
  std::uint32_t capacity;

  Node* nodes() noexcept { return reinterpret_cast<Node*>(this + 1); }
};

namespace {
constexpr std::uint32_t first_slab = 8;
constexpr std::uint32_t largest_slab = 8192;
}  // namespace

Tree::~Tree() {
  for (Slab* slab = slabs_; slab; slab = slab->older) {
    for (std::uint32_t i = 0; i < slab->used; ++i) {
      Node& node = slab->nodes()[i];
      if (node.object) node.object->~ObjectPart();
      node.~Node();
    }
  }
}

Node& Tree::make_node() {
  static_assert(sizeof(Slab) % alignof(Node) == 0);
  if (!slabs_ || slabs_->used == slabs_->capacity) {
    const std::uint32_t capacity = slabs_ ? std::min(slabs_->capacity * 2, largest_slab) : first_slab;
    void* block = arena_.allocate_bytes(sizeof(Slab) + capacity * sizeof(Node), alignof(Node));
    slabs_ = new (block) Slab{slabs_, 0, capacity};
  }
  Node* node = new (slabs_->nodes() + slabs_->used) Node;
  ++slabs_->used;
  return *node;
}

Node& Tree::make_node(NodeKind kind, Text label, PathSegment segment) {
  Node& node = make_node();
  node.kind = kind;
  node.label = label;
  node.path_segment_kind = segment.kind;
  node.path_index = segment.index;
  return node;
}

void Tree::reserve_children(Node& parent, std::size_t count) {
  if (count <= parent.child_capacity) return;
  if (count > UINT32_MAX) throw std::bad_alloc();
  Node** children = arena_.allocate<Node*>(count);
  std::copy_n(parent.children, parent.child_count, children);
  parent.children = children;
  parent.child_capacity = static_cast<std::uint32_t>(count);
}

void Tree::append_child(Node& parent, Node& child) {
  if (parent.child_count == parent.child_capacity)
    reserve_children(parent, std::max<std::size_t>(4, std::size_t{parent.child_capacity} * 2));
  parent.children[parent.child_count++] = &child;
}

ObjectPart& Tree::make_object_part(Node& node) {
  node.object = new (arena_.allocate_bytes(sizeof(ObjectPart), alignof(ObjectPart))) ObjectPart;
  return *node.object;
}

std::span<Text> Tree::make_lines(std::size_t count) {
  Text* lines = arena_.allocate<Text>(count);
  std::fill_n(lines, count, empty_text);
  return {lines, count};
}

Text Tree::text(std::u16string_view text) {
  if (text.empty()) return empty_text;
  char16_t* copy = arena_.allocate<char16_t>(text.size() + 1);
  *std::copy(text.begin(), text.end(), copy) = u'\0';
  return copy;
}

Text Tree::count_text(std::int64_t count, std::u16string_view one, std::u16string_view many) {
  append_count(scratch(), count, one, many);
  return text(scratch_);
}

Text Tree::text(const HalconCpp::HString& string) {
  const HalconText from(string);
  if (from.most_units() == 0) return empty_text;
  char16_t* copy = arena_.allocate<char16_t>(from.most_units() + 1);
  copy[from.copy_to(copy)] = u'\0';
  return copy;
}

}  // namespace quovel
