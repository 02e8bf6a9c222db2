#include "models3d/mesh_file.h"

namespace HalconCpp::detail {

// Those with a magic come first.
const MeshReader* find_mesh_reader(Bytes file, std::string_view extension) {
  for (const MeshReader* reader : {&ply_reader, &off_reader, &stl_reader, &obj_reader})
    if (reader->recognizes(file, extension)) return reader;
  return nullptr;
}

}  // namespace HalconCpp::detail
