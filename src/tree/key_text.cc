#include "platform/text.h"
#include "tree/builders.h"

namespace quovel {

Text key_text(Tree& tree, const HalconCpp::HTuple& key) try {
  if (key.TupleIsStringElem()[0].L() != 0) return tree.shared_text(key[0].S());
  std::u16string& text = tree.scratch();
  if (key.TupleIsIntElem()[0].L() != 0)
    append_integer(text, key[0].L());
  else
    append_general(text, key[0].D());
  return tree.text(text);
} catch (const HalconCpp::HException&) {
  return u"<unreadable key>";
}

}  // namespace quovel
