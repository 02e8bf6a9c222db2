// 3D object model and deep-learning model files, shown by the keys of their handle.
#ifndef QUOVEL_CONTENT_MODEL_LOADERS_H
#define QUOVEL_CONTENT_MODEL_LOADERS_H

#include <memory>
#include <string>

#include "tree/node.h"
#include "tree/work.h"

namespace quovel {

// Each returns a tree whose root is the model, and adds the building of its children to `list`. HALCON's exceptions for
// reading the file pass.
std::unique_ptr<Tree> load_object_model_3d_tree(const std::u16string& path, WorkList& list);
std::unique_ptr<Tree> load_dl_model_tree(const std::u16string& path, WorkList& list);

}  // namespace quovel

#endif
