// Which nodes of a tree are shown: all, or those that match and the nodes above them.
#ifndef QUOVEL_HOST_SELECTION_H
#define QUOVEL_HOST_SELECTION_H

#include <cstddef>
#include <string>
#include <unordered_map>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "session.h"

namespace host {

// Upper and lower case of A to Z are the same. An empty text matches everything.
struct Wanted {
  std::string filter;  // part of the label, the beginning of the type, or the name of the kind
  std::string grep;    // part of the values or of the detail lines

  bool everything() const { return filter.empty() && grep.empty(); }
};

class Selection {
 public:
  Selection(const Session& session, const qv_node* root, const Wanted& wanted);

  // Whether the node matches; whether it or a node below it does.
  bool found(const qv_node* node) const;
  bool shows(const qv_node* node) const { return everything_ || shown_.count(node) > 0; }
  // The match with some text around it, if the summary of the node does not show it; otherwise empty.
  std::string excerpt(const qv_node* node) const;

  std::size_t nodes() const { return nodes_; }        // of the whole tree
  std::size_t found_nodes() const { return found_; }  // those that match

 private:
  bool finds(const Session& session, const qv_node* node, const Wanted& wanted);

  bool everything_;
  std::size_t nodes_ = 0, found_ = 0;
  struct Shown {
    bool found = false;
    std::string excerpt;
  };
  std::unordered_map<const qv_node*, Shown> shown_;
};

}  // namespace host

#endif
