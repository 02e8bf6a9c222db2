// A tree as text for people, and as JSON for programs.
#ifndef QUOVEL_HOST_PRINT_TREE_H
#define QUOVEL_HOST_PRINT_TREE_H

#include <cstdio>
#include <string>

#include "quovel_adapter.h"

namespace host {

struct TreeStyle {
  bool colour = false;
  bool details = false;
  int depth = -1;  // levels below the root that are shown; negative: all
};

// `title` stands for the root, which has no label.
void print_tree(std::FILE* out, const qv_node* root, const std::string& title, const TreeStyle& style);

// One object per node: label, kind, type, summary, path, and what else the node has.
void print_json(std::FILE* out, const qv_node* root, const TreeStyle& style);

}  // namespace host

#endif
