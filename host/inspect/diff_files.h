// What differs between two files, node by node.
#ifndef QUOVEL_HOST_DIFF_FILES_H
#define QUOVEL_HOST_DIFF_FILES_H

#include <cstdio>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "session.h"

namespace host {

struct Differences {
  std::size_t added = 0, removed = 0, changed = 0;

  bool none() const { return added + removed + changed == 0; }
};

// Nodes are the same when they have the same place. Prints a line per node that only the second tree has ("+"), only
// the first has ("-"), or that differs ("!"): its kind, its values (the first 1000 exactly, the rest by the library's
// text), its description or its details. Of images that look the same otherwise, the drawn pixels are compared. The
// children of a node that only one tree has are counted but not printed.
Differences print_differences(std::FILE* out, const Session& before, const qv_node* first, const Session& after,
                              const qv_node* second);

}  // namespace host

#endif
