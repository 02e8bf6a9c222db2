#include "tree/dict_loader.h"

#include "HalconCpp.h"
#include "platform/text.h"
#include "tree/dict_builder.h"
#include "tree/work.h"

namespace quovel {

using HalconCpp::HTuple;

namespace {

// The name of the option's generic parameter; the empty name for a key that is not an option.
const char* parameter_name(std::int32_t key) {
  switch (key) {
    case 0:
      return "json_value_true";
    case 1:
      return "json_value_false";
    case 2:
      return "json_value_null";
    case 3:
      return "convert_json_arrays_to";
    default:
      return "";
  }
}

// The option's value; an empty tuple when its type is unknown.
HTuple parameter_value(const ReadingOption& option) {
  switch (option.value_type) {
    case 0:
      return HTuple(to_halcon(option.string_value));
    case 1:
      return HTuple(HalconCpp::Hlong{option.int_value});
    case 2:
      return HTuple(option.real_value);
    default:
      return HTuple();
  }
}

}  // namespace

std::unique_ptr<Tree> load_dict_tree(const std::u16string& path, const std::vector<ReadingOption>& options,
                                     WorkList& list) {
  HTuple names, values;
  for (const ReadingOption& option : options) {
    names.Append(HTuple(parameter_name(option.key)));
    values.Append(parameter_value(option));
  }
  HalconCpp::HDict dict;
  dict.ReadDict(HTuple(to_halcon(path)), names, values);
  auto tree = std::make_unique<Tree>();
  tree->root = &tree->make_node();
  build_dict_node(*tree, *tree->root, dict, list);
  return tree;
}

}  // namespace quovel
