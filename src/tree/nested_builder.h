// Building nodes that hold one another to any depth, without recursion: the nodes that are not finished yet stand in a
// list.
#ifndef QUOVEL_TREE_NESTED_BUILDER_H
#define QUOVEL_TREE_NESTED_BUILDER_H

#include <memory>

#include "HalconCpp.h"
#include "tree/node.h"

namespace quovel {

class OpenNode;

// A node that was begun: finished at once, or open.
struct Begun {
  Node* finished = nullptr;
  std::unique_ptr<OpenNode> open;
};

// A node whose children are being built one after the other.
class OpenNode {
 public:
  explicit OpenNode(Node& node) noexcept : node_(node) {}
  virtual ~OpenNode() = default;

  Node& node() noexcept { return node_; }
  virtual bool has_more() const noexcept = 0;
  // Begins the next child; a finished one is appended at once, an open one when it is finished. An HException ends this
  // node.
  virtual Begun begin_next() = 0;
  // The child begun last ended with an HException: the node that stands in its place.
  virtual Node& replace_failed(const HalconCpp::HException& failure) = 0;

 private:
  Node& node_;
};

// content/ and tree/: begin a tuple's and a dictionary's node.
Begun begin_tuple_node(Tree& tree, const HalconCpp::HTuple& tuple, Text label, PathSegment segment);
Begun begin_dict_node(Tree& tree, const HalconCpp::HDict& dict, Text label, PathSegment segment);

// Builds what was begun to its end.
Node& finish_node(Tree& tree, Begun begun);

}  // namespace quovel

#endif
