// Dictionary files.
#ifndef QUOVEL_TREE_DICT_LOADER_H
#define QUOVEL_TREE_DICT_LOADER_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tree/node.h"
#include "tree/work.h"

namespace quovel {

// A copy of a host's reading option: `key` names it, and `value_type` says which of the three values is used.
struct ReadingOption {
  std::int32_t key;
  std::int32_t value_type;
  std::u16string string_value;
  std::int64_t int_value;
  double real_value;
};

// Returns a tree whose root is the dictionary, and adds the building of its children to `list`. HALCON gets the options
// in their order and unchecked. HALCON's exceptions pass: for reading the file, and for listing the keys of the root.
std::unique_ptr<Tree> load_dict_tree(const std::u16string& path, const std::vector<ReadingOption>& options,
                                     WorkList& list);

}  // namespace quovel

#endif
