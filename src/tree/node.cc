#include "tree/node.h"

#include <algorithm>
#include <new>

#include "platform/text.h"

namespace quovel {

// Nodes are stored in a few large slabs, in the order in which they were made, so that destroying them needs no walk.
struct Tree::Slab {
  Slab* older;
  std::uint32_t used;
  std::uint32_t capacity;

  Node* nodes() noexcept { return reinterpret_cast<Node*>(this + 1); }
};

namespace {
constexpr std::uint32_t min_slab_nodes = 8;
constexpr std::uint32_t max_slab_nodes = 1024;

void set_address(Node& node, Text label, PathSegment segment) noexcept {
  node.label = label;
  node.path_segment_kind = segment.kind;
  node.path_index = segment.index;
}
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
    const std::uint32_t capacity = slabs_ ? std::min(slabs_->capacity * 2, max_slab_nodes) : min_slab_nodes;
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
  set_address(node, label, segment);
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

Node& Tree::add_child(Node& parent, NodeKind kind, Text label, PathSegment segment) {
  Node& child = make_node(kind, label, segment);
  append_child(parent, child);
  return child;
}

void Tree::clear(Node& node) {
  if (node.object) node.object->~ObjectPart();
  const Text label = node.label;
  const PathSegment segment{node.path_segment_kind, node.path_index};
  node = Node();
  set_address(node, label, segment);
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

std::span<char16_t> Tree::write_text(const HalconText& from, std::size_t more) {
  char16_t* const block = arena_.allocate<char16_t>(from.max_units() + more);
  const std::size_t units = from.copy_to(block);
  arena_.shrink_last(block + units + more, block + from.max_units() + more);
  return {block, units};
}

Text Tree::text(const HalconCpp::HString& string) {
  const std::span<char16_t> copy = write_text(HalconText(string), 1);
  copy.data()[copy.size()] = u'\0';
  return copy.data();
}

const Tree::CachedKey& Tree::cached_key(const HalconCpp::HString& string) {
  const HalconText text(string);
  const auto address = reinterpret_cast<std::uintptr_t>(text.address());
  CachedKey& cached = cached_keys_[(address / 16 ^ address / 4096) % cached_keys_.size()];
  if (cached.address != text.address()) {
    cached = {string, nullptr, HalconCpp::HTuple(string), this->text(string)};
    cached.address = HalconText(cached.string).address();  // of the copy, which may not share the text
  }
  return cached;
}

Tree::QuotedText Tree::quoted_text(const HalconCpp::HString& string) {
  const std::span<char16_t> plain = write_text(HalconText(string), 1);
  if (plain.empty()) return {empty_text, u"''"};
  plain.data()[plain.size()] = u'\0';
  char16_t* const quoted = arena_.allocate<char16_t>(plain.size() + 3);
  quoted[0] = u'\'';
  char16_t* const end = std::copy(plain.begin(), plain.end(), quoted + 1);
  end[0] = u'\'';
  end[1] = u'\0';
  return {plain.data(), quoted};
}

}  // namespace quovel
