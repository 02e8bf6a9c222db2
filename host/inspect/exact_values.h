// The values of a node as one text, exactly.
#ifndef QUOVEL_HOST_EXACT_VALUES_H
#define QUOVEL_HOST_EXACT_VALUES_H

#include <string>
#include <vector>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "session.h"

namespace host {

struct ValueText {
  std::string text;
  bool exact = true;  // false: reals beyond the first 1000 values have the six digits of the library's text
};

// The form of the library's text, with each real in the fewest digits that read back to the same number. The library
// keeps 1000 typed values of a node. The rest is read from the dictionary file again, with arrays as dictionaries, so
// that each value has a node of its own; other kinds of files have no such way, nor a file that has changed since.
class ExactValues {
 public:
  // `options` are those that the file was opened with. The session must outlive this.
  ExactValues(const Session& session, FileKind kind, std::vector<ReadingOption> options);

  // Of the node at that place. Throws Failure when memory runs out.
  ValueText text(const qv_node* node, const std::string& place);

 private:
  const qv_node* tree_by_arrays();
  void open_by_arrays(const std::string& path);

  const Session& session_;
  FileKind kind_;
  std::vector<ReadingOption> options_;
  Session again_;  // the file once more, opened when it is needed first
  bool tried_ = false;
  const qv_node* by_arrays_ = nullptr;
};

ValueText exact_value_text(const Session& session, FileKind kind, const std::vector<ReadingOption>& options,
                           const qv_node* node, const std::string& place);

}  // namespace host

#endif
