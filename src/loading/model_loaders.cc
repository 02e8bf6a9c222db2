#include "loading/model_loaders.h"

#include "platform/failure.h"
#include "tree/builders.h"

namespace quovel {

using HalconCpp::HTuple;

namespace {

std::unique_ptr<Tree> build_model_tree(const HTuple& handle) {
  auto tree = std::make_unique<Tree>();
  tree->root = &build_handle_node(*tree, handle, empty_text, by_key, 0);
  return tree;
}

}  // namespace

std::unique_ptr<Tree> load_object_model_3d_tree(const std::u16string& path, std::u16string& error) {
  return catch_halcon(error, std::unique_ptr<Tree>(), [&] {
    HTuple model, status;
    HalconCpp::ReadObjectModel3d(HTuple(to_halcon(path)), "m", HTuple(), HTuple(), &model, &status);
    return build_model_tree(model[0].H());
  });
}

std::unique_ptr<Tree> load_dl_model_tree(const std::u16string& path, std::u16string& error) {
  return catch_halcon(error, std::unique_ptr<Tree>(), [&] {
    HalconCpp::HDlModel model;
    model.ReadDlModel(to_halcon(path));
    return build_model_tree(HTuple(model));
  });
}

}  // namespace quovel
