// OBJ, after "Object Files (.obj)" in the appendix of Wavefront's Advanced Visualizer manual: a statement per line.
// Points (v), normals (vn) and faces (f) are kept, all other statements are skipped.
#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "HalconCpp.h"
#include "core/buffer.h"
#include "core/failure.h"
#include "core/limits.h"
#include "models3d/mesh.h"
#include "models3d/mesh_file.h"
#include "models3d/model3d.h"
#include "models3d/text_scanner.h"

namespace HalconCpp::detail {

namespace {

class ObjReader {
 public:
  explicit ObjReader(Bytes file) noexcept : text_(file) {}
  Model3dParts read();

 private:
  struct Corner {
    Hlong point = 0;   // as written: from 1, or negative from the end; 0 is invalid
    Hlong normal = 0;  // 0: none
  };

  void read_vertex();
  void read_normal();
  void read_face();
  Corner parse_corner(std::string_view word) const;
  // 0-based, whether counted from the first or the last one.
  Hlong resolve(Hlong index, std::size_t count, const char* things) const;
  void note_normal(Hlong point, Hlong normal);
  void assign_normals();

  TextScanner text_;
  Mesh mesh_;
  Buffer<double> nx_, ny_, nz_;     // as the file lists them
  Buffer<std::int32_t> normal_of_;  // per point: 0 none yet, else 1 + its number
  bool faces_have_normals_ = false;
  bool one_normal_per_point_ = true;
};

void ObjReader::read_vertex() {
  double values[7];
  std::size_t count = 0;
  while (count < 7 && text_.more_on_line()) values[count++] = text_.number();
  if (count < 3) text_.fail_here("a vertex has at least 3 numbers");
  mesh_.add_point(values[0], values[1], values[2]);
  if (count < 6) return;
  mesh_.red.push_back(static_cast<float>(values[3]));
  mesh_.green.push_back(static_cast<float>(values[4]));
  mesh_.blue.push_back(static_cast<float>(values[5]));
}

void ObjReader::read_normal() {
  for (Buffer<double>* coordinate : {&nx_, &ny_, &nz_}) coordinate->push_back(text_.number());
}

// "point", "point/texture", "point//normal" or "point/texture/normal".
ObjReader::Corner ObjReader::parse_corner(std::string_view word) const {
  Hlong numbers[3] = {};
  const char* at = word.data();
  const char* const end = at + word.size();
  bool valid = true;
  for (int i = 0; valid && i < 3 && (i == 0 || at != end); ++i) {
    if (i > 0) valid = *at++ == '/';
    if (i > 0 && (at == end || *at == '/')) continue;
    const auto [after, error] = std::from_chars(at, end, numbers[i]);
    valid = valid && error == std::errc() && numbers[i] != 0;
    at = after;
  }
  if (!valid || at != end) text_.fail_here(quoted(word) + " is not a corner of a face");
  return {numbers[0], numbers[2]};
}

Hlong ObjReader::resolve(Hlong index, std::size_t count, const char* things) const {
  if (index > 0) return index - 1;
  if (index < -static_cast<Hlong>(count))
    text_.fail_here("index " + std::to_string(index) + ", but only " + std::to_string(count) + " " + things +
                    " come before it");
  return static_cast<Hlong>(count) + index;
}

void ObjReader::read_face() {
  int corners = 0;
  for (; text_.more_on_line(); corners += corners < 3) {
    const Corner corner = parse_corner(text_.word());
    const Hlong point = resolve(corner.point, mesh_.x.size(), "points");
    mesh_.add_corner(static_cast<double>(point));
    if (corner.normal != 0) note_normal(point, resolve(corner.normal, nx_.size(), "normals"));
  }
  if (corners < 3) text_.fail_here("a face has at least 3 corners");
  mesh_.end_face();
}

void ObjReader::note_normal(Hlong point, Hlong normal) {
  faces_have_normals_ = true;
  const Hlong points = static_cast<Hlong>(mesh_.x.size());
  if (point >= points || normal >= static_cast<Hlong>(limits::model_points)) one_normal_per_point_ = false;
  if (!one_normal_per_point_) return;
  while (normal_of_.size() < mesh_.x.size()) normal_of_.push_back(0);
  std::int32_t& known = normal_of_[static_cast<std::size_t>(point)];
  if (known == 0) known = static_cast<std::int32_t>(normal + 1);
  if (known != normal + 1) one_normal_per_point_ = false;
}

// A model has one normal per point. When no face assigns normals, normal i is that of point i.
void ObjReader::assign_normals() {
  if (!faces_have_normals_) {
    mesh_.nx = std::move(nx_);
    mesh_.ny = std::move(ny_);
    mesh_.nz = std::move(nz_);
    return;
  }
  const auto missing = [&](std::int32_t normal) {
    return normal == 0 || static_cast<std::size_t>(normal) > nx_.size();
  };
  if (!one_normal_per_point_ || std::any_of(normal_of_.begin(), normal_of_.end(), missing)) return;
  for (const std::int32_t normal : normal_of_) {
    const auto at = static_cast<std::size_t>(normal - 1);
    mesh_.nx.push_back(nx_[at]);
    mesh_.ny.push_back(ny_[at]);
    mesh_.nz.push_back(nz_[at]);
  }
}

Model3dParts ObjReader::read() {
  for (; text_.more(); text_.skip_line()) {
    const std::string_view statement = text_.word();
    if (statement == "v") read_vertex();
    if (statement == "vn") read_normal();
    if (statement == "f") read_face();
  }
  if (mesh_.x.empty()) fail("has no vertices, or is not an OBJ file");
  assign_normals();
  return mesh_.finish();
}

// The format has no magic: without the extension, the first statement decides.
bool recognizes_obj(Bytes file, std::string_view extension) {
  TextScanner text(file);
  if (extension == "obj") return true;
  if (!text.more()) return false;
  constexpr std::string_view statements[] = {"v", "vt", "vn", "vp", "f", "o", "g", "s", "l", "p", "mtllib", "usemtl"};
  return std::find(std::begin(statements), std::end(statements), text.word()) != std::end(statements);
}

Model3dParts read_obj(Bytes file) { return ObjReader(file).read(); }

}  // namespace

const MeshReader obj_reader{"OBJ", recognizes_obj, read_obj};

}  // namespace HalconCpp::detail
