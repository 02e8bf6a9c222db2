// Calls the builders: the one place that knows them all.
#ifndef QUOVEL_ADAPTER_DISPATCHER_H
#define QUOVEL_ADAPTER_DISPATCHER_H

#include "tree/node.h"
#include "tree/work.h"

namespace quovel {

// Makes and fills the children on the list, and theirs, until nothing is left. A child that HALCON fails to give is
// shown as its parent's kind shows failed children, or left out.
void build_pending(Tree& tree, WorkList& list);

}  // namespace quovel

#endif
