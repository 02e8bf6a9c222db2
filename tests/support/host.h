// A host for tests: the exported interface with values in place of pointers.
#ifndef QUOVEL_TESTS_SUPPORT_HOST_H
#define QUOVEL_TESTS_SUPPORT_HOST_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "quovel_adapter_2411/quovel_adapter.h"

namespace test {

// UTF-8 to the host's text and back.
std::u16string wide(std::string_view utf8);
std::string narrow(const qv_char* text);
inline const qv_char* units(const std::u16string& text) { return reinterpret_cast<const qv_char*>(text.c_str()); }

// What a node tells, as UTF-8.
inline std::string label(const qv_node* node) { return narrow(qv_node_label(node)); }
inline std::string type(const qv_node* node) { return narrow(qv_node_type_label(node)); }
inline std::string summary(const qv_node* node) { return narrow(qv_node_value_summary(node)); }
std::vector<std::string> details(const qv_node* node);
std::vector<const qv_node*> children(const qv_node* node);
// The child of that label; null when there is none.
const qv_node* child(const qv_node* node, std::string_view label);

// A node and all below it, one line each: indentation, kind, path, label, type, summary, counts, values, details. What
// two equal trees have in common.
std::string dump(const qv_node* node);

enum class FileKind { Dict, Object, Model3d, DlModel };

class Reader {
 public:
  Reader() : reader_(qv_reader_create()) {}
  ~Reader() { qv_reader_destroy(reader_); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  operator qv_reader*() const { return reader_; }
  const qv_node* parse(FileKind kind, std::string_view path) const;
  const qv_node* objects(std::string_view path) const { return parse(FileKind::Object, path); }
  const qv_node* dict(std::string_view path) const { return parse(FileKind::Dict, path); }
  std::string error() const { return narrow(qv_reader_last_error(reader_)); }
  std::string full(const qv_node* node) const { return narrow(qv_node_full_value_text(reader_, node)); }
  bool save(const qv_node* node, std::string_view path) const;

 private:
  qv_reader* reader_;
};

// Every way of asking a Reader for the pixels and the geometry of a node, and of saving it; buffers are given back. The
// results and texts as one line each: to be compared, and to be run under sanitizers.
std::string extract_everything(const Reader& reader, const qv_node* node, int32_t index);

}  // namespace test

#endif
