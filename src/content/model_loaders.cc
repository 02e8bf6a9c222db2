#include "content/model_loaders.h"

#include "HalconCpp.h"
#include "content/handle_builder.h"
#include "platform/text.h"
#include "tree/work.h"

namespace quovel {

using HalconCpp::HTuple;

namespace {

std::unique_ptr<Tree> build_model_tree(const HTuple& handle, WorkList& list) {
  auto tree = std::make_unique<Tree>();
  tree->root = &tree->make_node();
  build_handle_node(*tree, *tree->root, handle, 0, list);
  return tree;
}

}  // namespace

// "m": the coordinates are taken as meters.
std::unique_ptr<Tree> load_object_model_3d_tree(const std::u16string& path, WorkList& list) {
  HTuple model, status;
  HalconCpp::ReadObjectModel3d(HTuple(to_halcon(path)), "m", HTuple(), HTuple(), &model, &status);
  return build_model_tree(model[0].H(), list);
}

std::unique_ptr<Tree> load_dl_model_tree(const std::u16string& path, WorkList& list) {
  HalconCpp::HDlModel model;
  model.ReadDlModel(to_halcon(path));
  return build_model_tree(HTuple(model), list);
}

}  // namespace quovel
