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

// One reading option of the host, copied: `key` names the option; of the three values the one of `value_type` counts.
struct ReadingOption {
  std::int32_t key;
  std::int32_t value_type;
  std::u16string string_value;
  std::int64_t int_value;
  double real_value;
};

// The dictionary's tree, whose root is filled; what is left to do for it goes on `list`. HALCON gets the options in
// their order and unchecked. Throws what HALCON throws when it reads
// the file, and when it lists the keys of the dictionary in it.
std::unique_ptr<Tree> load_dict_tree(const std::u16string& path, const std::vector<ReadingOption>& options,
                                     WorkList& list);

}  // namespace quovel

#endif
