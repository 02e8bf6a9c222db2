// A tree as text for people, as lines for other tools, and as JSON for programs.
#ifndef QUOVEL_HOST_PRINT_TREE_H
#define QUOVEL_HOST_PRINT_TREE_H

#include <cstdio>
#include <string>

#include "selection.h"

namespace host {

struct TreeStyle {
  bool colour = false;
  bool details = false;
  int depth = -1;  // levels below the root that are shown; negative: all
};

// `title` stands for the root, which has no label.
void print_tree(std::FILE* out, const qv_node* root, const std::string& title, const TreeStyle& style,
                const Selection& selection);

// One line per node that was asked for: `prefix`, place, type and summary, apart by tabs.
void print_list(std::FILE* out, const qv_node* root, const std::string& prefix, const TreeStyle& style,
                const Selection& selection);

// The number of the form of what follows; it grows when a member changes its meaning or goes.
constexpr int json_format = 1;

// One line with one object per node: label, kind, type, summary, path, and what else the node has; the root's begins
// with the format and the file.
void print_json(std::FILE* out, const qv_node* root, const std::string& file, const TreeStyle& style,
                const Selection& selection);
// The line of a file that could not be opened.
void print_json_error(std::FILE* out, const std::string& file, const std::string& error);

}  // namespace host

#endif
