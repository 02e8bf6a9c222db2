// What the entries of dictionaries and of handles have in common: a key, and a data type that says how to read them.
#ifndef QUOVEL_TREE_ENTRY_H
#define QUOVEL_TREE_ENTRY_H

#include "HalconCpp.h"
#include "tree/node.h"

namespace quovel {

// The label of an entry, made from its key (a tuple of one); "<unreadable key>" when HALCON cannot read the key. Lets
// no HException out.
Text key_text(Tree& tree, const HalconCpp::HTuple& key);

// Makes the node stand for an entry of a data type that has no builder.
void make_unsupported(Tree& tree, Node& node, const HalconCpp::HString& data_type);

// Makes the node stand for an entry that could not be built, whatever it was before. An HException means that not even
// the message can be read.
void make_error(Tree& tree, Node& node, const HalconCpp::HException& failure);

}  // namespace quovel

#endif
