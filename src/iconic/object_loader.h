// Iconic data from files: object files, sequences of images, images.
#ifndef QUOVEL_ICONIC_OBJECT_LOADER_H
#define QUOVEL_ICONIC_OBJECT_LOADER_H

#include <memory>
#include <string>

#include "tree/node.h"

namespace quovel {

// The tree of the file's objects, one child per object, and no tree when one of them fails. Throws what HALCON throws,
// and ReportedError for a sequence file without entries or with an entry that has no file.
std::unique_ptr<Tree> load_object_file(const std::u16string& path);

}  // namespace quovel

#endif
