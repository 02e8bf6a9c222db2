#include "tree/entry.h"

#include <string>

#include "platform/text.h"

namespace quovel {

// An entry whose key cannot be read is shown all the same, under another label.
Text key_text(Tree& tree, const HalconCpp::HTuple& key) try {
  if (key.TupleIsStringElem()[0].L() != 0) return tree.text(key[0].S());
  if (key.TupleIsIntElem()[0].L() != 0) return tree.number_text(key[0].L());
  std::u16string& text = tree.scratch();
  append_general(text, key[0].D());
  return tree.text(text);
} catch (const HalconCpp::HException&) {
  return u"<unreadable key>";
}

void make_unsupported(Tree& tree, Node& node, const HalconCpp::HString& data_type) {
  node.kind = NodeKind::Value;
  node.type = TypeName::Unsupported;
  node.value_summary = tree.text(data_type);
}

void make_error(Tree& tree, Node& node, const HalconCpp::HException& failure) {
  tree.clear(node);
  node.kind = NodeKind::Value;
  node.type = TypeName::Error;
  node.value_summary = tree.text(failure.ErrorMessage());
}

}  // namespace quovel
