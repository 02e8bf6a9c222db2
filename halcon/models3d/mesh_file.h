// The file formats that ReadObjectModel3d reads. Each format is one file.
#ifndef HALCONCPP_MODELS3D_MESH_FILE_H
#define HALCONCPP_MODELS3D_MESH_FILE_H

#include <cstddef>
#include <span>
#include <string_view>

#include "models3d/model3d.h"

namespace HalconCpp::detail {

using Bytes = std::span<const std::byte>;

// `recognizes` looks at the content and, where that says little, at the file name's extension (lower case). `read`
// rejects what it cannot.
struct MeshReader {
  const char* name;
  bool (*recognizes)(Bytes file, std::string_view extension);
  Model3dParts (*read)(Bytes file);
};

extern const MeshReader ply_reader, off_reader, stl_reader, obj_reader;

// Null for a file of none of these formats.
const MeshReader* find_mesh_reader(Bytes file, std::string_view extension);

inline std::string_view text_of(Bytes file) noexcept {
  return {reinterpret_cast<const char*>(file.data()), file.size()};
}

}  // namespace HalconCpp::detail

#endif
