// A tree as text for people, as lines for other tools, and as JSON for programs.
#ifndef QUOVEL_HOST_PRINT_TREE_H
#define QUOVEL_HOST_PRINT_TREE_H

#include <cstdio>
#include <string>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "selection.h"

namespace host {

struct TreeStyle {
  bool color = false;
  bool details = false;
  int depth = -1;  // levels below the root that are shown; negative: all
};

// `title` is shown for the root, which has no label.
void print_tree(std::FILE* out, const qv_node* root, const std::string& title, const TreeStyle& style,
                const Selection& selection);

// One line per selected node: `prefix`, then place, type and summary, separated by tabs.
void print_list(std::FILE* out, const qv_node* root, const std::string& prefix, const TreeStyle& style,
                const Selection& selection);

// The version of the JSON output; it grows when a member changes its meaning or is removed.
constexpr int json_format = 1;

// One line with one object per node, as the manual page describes. The object of the root begins with the format and
// the file.
void print_json(std::FILE* out, const qv_node* root, const std::string& file, const TreeStyle& style,
                const Selection& selection);
// The line for a file that could not be opened.
void print_json_error(std::FILE* out, const std::string& file, const std::string& error);

}  // namespace host

#endif
