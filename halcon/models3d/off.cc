// OFF, after the manual page oogl(5) of Geomview: a keyword [ST][C][N][4][n]OFF whose prefixes say what each vertex
// has, NVertices NFaces NEdges, then a line per vertex and per face.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "HalconCpp.h"
#include "core/buffer.h"
#include "models3d/mesh.h"
#include "models3d/mesh_file.h"
#include "models3d/model3d.h"
#include "models3d/text_scanner.h"

namespace HalconCpp::detail {

namespace {

bool take(std::string_view& text, std::string_view prefix) noexcept {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

struct Keyword {
  // [ST][C][N][4][n]OFF
  explicit Keyword(std::string_view word) noexcept {
    take(word, "ST");
    has_colors = take(word, "C");
    has_normals = take(word, "N");
    other_dimension = take(word, "4");
    other_dimension |= take(word, "n");
    valid = word == "OFF";
  }
  bool valid;
  bool has_colors;
  bool has_normals;
  bool other_dimension;  // points of four or n coordinates
};

bool recognizes_off(Bytes file, std::string_view) {
  TextScanner text(file);
  return text.more() && Keyword(text.word()).valid;
}

void begin_row(TextScanner& text, const char* things) {
  if (!text.more()) text.fail_here(std::string("the file ends before the last of its ") + things);
}

std::uint64_t read_count(TextScanner& text, const char* things) {
  begin_row(text, "counts");
  const Hlong count = text.integer();
  if (count < 0) text.fail_here(std::string("a negative number of ") + things);
  return static_cast<std::uint64_t>(count);
}

void read_vertices(TextScanner& text, const Keyword& keyword, std::uint64_t count, Mesh& mesh) {
  for (std::uint64_t i = 0; i < count; ++i, text.skip_line()) {
    begin_row(text, "vertices");
    for (auto* coordinate : {&mesh.x, &mesh.y, &mesh.z}) coordinate->push_back(text.number());
    if (keyword.has_normals)
      for (auto* coordinate : {&mesh.nx, &mesh.ny, &mesh.nz}) coordinate->push_back(text.number());
    if (keyword.has_colors)
      for (auto* level : {&mesh.red, &mesh.green, &mesh.blue}) level->push_back(static_cast<float>(text.number()));
  }
}

// What follows the corners is the color of the face.
void read_faces(TextScanner& text, std::uint64_t count, Mesh& mesh) {
  for (std::uint64_t i = 0; i < count; ++i, text.skip_line()) {
    begin_row(text, "faces");
    const Hlong corners = text.integer();
    if (corners < 0) text.fail_here("a face with a negative number of corners");
    for (Hlong corner = 0; corner < corners; ++corner) mesh.add_corner(text.number());
    mesh.end_face();
  }
}

Model3dParts read_off(Bytes file) {
  Mesh mesh;
  TextScanner text(file);
  text.more();
  const Keyword keyword(text.word());
  if (keyword.other_dimension) text.fail_here("only points of three coordinates are read");
  if (TextScanner(text).word() == "BINARY") text.fail_here("binary OFF files are not read");
  const std::uint64_t vertices = read_count(text, "vertices");
  const std::uint64_t faces = read_count(text, "faces");
  text.skip_line();
  check_count("vertices", vertices, 6, text.left());
  check_count("faces", faces, 2, text.left());
  for (auto* coordinate : {&mesh.x, &mesh.y, &mesh.z}) coordinate->reserve(static_cast<std::size_t>(vertices));
  read_vertices(text, keyword, vertices, mesh);
  read_faces(text, faces, mesh);
  return mesh.finish();
}

}  // namespace

const MeshReader off_reader{"OFF", recognizes_off, read_off};

}  // namespace HalconCpp::detail
