// Which nodes of a tree are shown: all, or those that were asked for and the way to them.
#ifndef QUOVEL_HOST_SELECTION_H
#define QUOVEL_HOST_SELECTION_H

#include <cstddef>
#include <string>
#include <unordered_map>

#include "session.h"

namespace host {

// Both texts are found in any case of the letters A to Z; an empty one finds everything.
struct Wanted {
  std::string filter;  // part of the label, the beginning of the type, or the name of the kind
  std::string grep;    // part of the values or of the detail lines

  bool everything() const { return filter.empty() && grep.empty(); }
};

class Selection {
 public:
  Selection(const Session& session, const qv_node* root, const Wanted& wanted);

  // Whether the node was asked for; whether it was, or stands on the way to one that was.
  bool found(const qv_node* node) const;
  bool shows(const qv_node* node) const { return everything_ || shown_.count(node) > 0; }
  // What was found in a node where its summary does not show it, with some text around it; otherwise empty.
  std::string excerpt(const qv_node* node) const;

  std::size_t nodes() const { return nodes_; }        // of the whole tree
  std::size_t found_nodes() const { return found_; }  // those that were asked for

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
