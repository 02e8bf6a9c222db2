// The node accessors: they read fields and cannot fail.
#include <cstddef>
#include <cstdint>
#include <span>

#include "adapter/reader.h"
#include "content/long_text.h"
#include "content/value_text.h"
#include "platform/heap.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "tree/node.h"

using namespace quovel;

namespace {

// What a node without an object part answers. A constant expression, so that loading the library runs no code of ours.
constexpr ObjectFields no_object{};

const ObjectFields& object_part(const qv_node* node) noexcept {
  const RareFields* rare = node ? from_host(node)->rare() : nullptr;
  return rare ? *rare : no_object;
}

// Whether the node has a value of that index.
bool has_value(const qv_node* node, int32_t index) noexcept {
  return node && index >= 0 && static_cast<uint32_t>(index) < from_host(node)->value_count();
}

NodeValue value_at(const qv_node* node, int32_t index) noexcept {
  return from_host(node)->value(static_cast<uint32_t>(index));
}

}  // namespace

const qv_char* qv_node_label(const qv_node* node) { return to_host(node ? from_host(node)->label : empty_text); }

uint32_t qv_node_kind(const qv_node* node) { return node ? static_cast<uint32_t>(from_host(node)->kind) : 0; }

const qv_char* qv_node_type_label(const qv_node* node) {
  return to_host(node ? from_host(node)->type_label() : empty_text);
}

const qv_char* qv_node_value_summary(const qv_node* node) {
  return to_host(node ? from_host(node)->value_summary : empty_text);
}

uint32_t qv_node_path_segment_kind(const qv_node* node) {
  return node ? static_cast<uint32_t>(from_host(node)->path_segment_kind) : 0;
}

uint32_t qv_node_path_index(const qv_node* node) { return node ? from_host(node)->path_index : 0; }

uint32_t qv_node_total_count(const qv_node* node) { return node ? from_host(node)->total_count() : 0; }

int32_t qv_node_truncated(const qv_node* node) { return node && from_host(node)->truncated() ? 1 : 0; }

const qv_char* qv_node_object_class(const qv_node* node) { return to_host(object_part(node).object_class); }

int32_t qv_node_is_image(const qv_node* node) { return object_part(node).is_image ? 1 : 0; }

uint32_t qv_node_object_count(const qv_node* node) { return object_part(node).object_count; }

uint32_t qv_node_detail_entry_count(const qv_node* node) { return object_part(node).detail_entry_count; }

int64_t qv_node_value_count(const qv_node* node) { return node ? from_host(node)->value_count() : 0; }

uint32_t qv_node_value_type_at(const qv_node* node, int32_t index) {
  return has_value(node, index) ? static_cast<uint32_t>(value_at(node, index).type()) : 0;
}

const qv_char* qv_node_value_string_at(const qv_node* node, int32_t index) {
  return to_host(has_value(node, index) ? value_at(node, index).text() : empty_text);
}

int64_t qv_node_value_int_at(const qv_node* node, int32_t index) {
  return has_value(node, index) ? value_at(node, index).int_value() : 0;
}

double qv_node_value_real_at(const qv_node* node, int32_t index) {
  return has_value(node, index) ? value_at(node, index).real_value() : 0.0;
}

int64_t qv_node_detail_line_count(const qv_node* node) {
  return static_cast<int64_t>(object_part(node).detail_lines.size());
}

const qv_char* qv_node_detail_line_at(const qv_node* node, int32_t index) {
  const std::span<const Text> lines = object_part(node).detail_lines;
  const bool valid = index >= 0 && static_cast<size_t>(index) < lines.size();
  return to_host(valid ? lines[static_cast<size_t>(index)] : empty_text);
}

int64_t qv_node_child_count(const qv_node* node) { return node ? from_host(node)->child_count() : 0; }

const qv_node* qv_node_child_at(const qv_node* node, int32_t index) {
  const bool valid = node && index >= 0 && static_cast<uint32_t>(index) < from_host(node)->child_count();
  return valid ? to_host(from_host(node)->children() + index) : nullptr;
}

const qv_char* qv_node_full_value_text(qv_reader* reader, const qv_node* node) {
  if (!reader || !node) return to_host(empty_text);
  return guarded(to_host(empty_text), [&] {
    LongText& text = from_host(reader)->value_text;
    text = full_value_text(from_host(node));
    return to_host(text.data());
  });
}
