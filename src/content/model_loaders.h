// 3D object model and deep-learning model files, shown by the keys of their handle.
#ifndef QUOVEL_CONTENT_MODEL_LOADERS_H
#define QUOVEL_CONTENT_MODEL_LOADERS_H

#include <memory>
#include <string>

#include "tree/node.h"
#include "tree/work.h"

namespace quovel {

// The model's tree, whose root is filled; what is left to do for it goes on `list`. Each throws what HALCON throws when
// it reads the file.
std::unique_ptr<Tree> load_object_model_3d_tree(const std::u16string& path, WorkList& list);
std::unique_ptr<Tree> load_dl_model_tree(const std::u16string& path, WorkList& list);

}  // namespace quovel

#endif
