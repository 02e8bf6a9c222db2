// The Reader that the host's handle refers to, and the rules of the boundary that every export keeps.
#ifndef QUOVEL_ADAPTER_READER_H
#define QUOVEL_ADAPTER_READER_H

#include <memory>
#include <string>

#include "adapter/dispatcher.h"
#include "content/long_text.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "tree/node.h"
#include "tree/work.h"

namespace quovel {

struct Reader {
  std::unique_ptr<Tree> tree;  // of the last parse; null before the first and after a failed one
  std::u16string last_error;
  LongText value_text;  // what qv_node_full_value_text returned last
};

// The host's handles are our records under names of their own.
inline Reader* from_host(qv_reader* reader) noexcept { return reinterpret_cast<Reader*>(reader); }
inline const Reader* from_host(const qv_reader* reader) noexcept { return reinterpret_cast<const Reader*>(reader); }
inline const Node* from_host(const qv_node* node) noexcept { return reinterpret_cast<const Node*>(node); }
inline qv_reader* to_host(Reader* reader) noexcept { return reinterpret_cast<qv_reader*>(reader); }
inline const qv_node* to_host(const Node* node) noexcept { return reinterpret_cast<const qv_node*>(node); }
inline const qv_char* to_host(Text text) noexcept { return reinterpret_cast<const qv_char*>(text); }
inline std::u16string from_host(const qv_char* text) { return reinterpret_cast<const char16_t*>(text); }

// Inside a handler: what is being handled becomes the Reader's error text. That of an HException and of a ReportedError
// is taken unchanged; any other exception, as for exhausted memory, leaves an empty text.
void keep_error(Reader& reader) noexcept;

// The guard around every export: turns an exception of any kind into the call's failure value.
template <class Result, class Body>
Result guarded(Result failure_value, Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    return failure_value;
  }
}

// The same for calls with a last-error text, which is cleared first. Called after the argument checks.
template <class Result, class Body>
Result guarded(Reader& reader, Result failure_value, Body&& body) noexcept {
  reader.last_error.clear();
  try {
    return body();
  } catch (...) {
    keep_error(reader);
    return failure_value;
  }
}

// What every parse export does: `load(path, list)` returns the new tree and adds to the list what is still to be built
// in it. The old tree is destroyed, also when loading fails.
template <class Load>
const qv_node* parse(qv_reader* host_reader, const qv_char* path, Load&& load) noexcept {
  Reader* const reader = from_host(host_reader);
  if (!reader || !path) return nullptr;
  reader->tree = guarded(*reader, std::unique_ptr<Tree>(), [&] {
    WorkList list;
    std::unique_ptr<Tree> tree = load(from_host(path), list);
    build_pending(*tree, list);
    return tree;
  });
  return reader->tree ? to_host(reader->tree->root) : nullptr;
}

}  // namespace quovel

#endif
