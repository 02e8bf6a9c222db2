// STL, after "StereoLithography Interface Specification" (3D Systems, 1989), as text (solid, facet, outer loop, vertex)
// and as binary (a header of 80 bytes, a number of facets, 50 bytes per facet). Each triangle holds its corners in
// full; corners with equal coordinates become one point.
#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/buffer.h"
#include "core/failure.h"
#include "core/hash.h"
#include "models3d/mesh.h"
#include "models3d/mesh_file.h"
#include "models3d/model3d.h"
#include "models3d/text_scanner.h"

namespace HalconCpp::detail {

namespace {

constexpr std::size_t header_bytes = 84;
constexpr std::size_t facet_bytes = 50;

// Gives equal corners the same number. With a standard map reading takes 2.4 times as long.
class PointIndex {
 public:
  explicit PointIndex(Mesh& mesh) : mesh_(mesh), buckets_(1 << 10) {}

  std::uint32_t number_of(double x, double y, double z) {
    if (mesh_.x.size() * 2 > buckets_.size()) grow();
    std::uint32_t& bucket = bucket_of({bits_of(x), bits_of(y), bits_of(z)});
    if (bucket == 0) {
      mesh_.add_point(x, y, z);
      bucket = static_cast<std::uint32_t>(mesh_.x.size());
    }
    return bucket - 1;
  }

 private:
  using Bits = std::array<std::uint64_t, 3>;
  // Equal coordinates have equal bits, -0 those of 0.
  static std::uint64_t bits_of(double value) noexcept { return std::bit_cast<std::uint64_t>(value + 0.0); }
  Bits bits_of_point(std::size_t point) const noexcept {
    return {bits_of(mesh_.x[point]), bits_of(mesh_.y[point]), bits_of(mesh_.z[point])};
  }

  // The bucket of the point with these coordinates, or the free one where it belongs.
  std::uint32_t& bucket_of(const Bits& bits) noexcept {
    SipHash hash;
    for (const std::uint64_t word : bits) hash.add(word);
    const std::size_t mask = buckets_.size() - 1;
    std::size_t at = hash.finish() & mask;
    while (buckets_[at] != 0 && bits_of_point(buckets_[at] - 1) != bits) at = (at + 1) & mask;
    return buckets_[at];
  }
  void grow() {
    buckets_.assign(buckets_.size() * 4, 0);
    for (std::size_t point = 0; point < mesh_.x.size(); ++point)
      bucket_of(bits_of_point(point)) = static_cast<std::uint32_t>(point + 1);
  }

  Mesh& mesh_;
  std::vector<std::uint32_t> buckets_;  // open addressing; 0: free, else 1 + number of the point
};

// The number of facets in the header of a binary file; 0 for a file that is too short to have one.
std::uint64_t declared_facets(Bytes file) noexcept {
  return file.size() < header_bytes ? 0 : stored_value<std::uint32_t, std::endian::little>(file.data() + 80);
}

bool has_binary_size(Bytes file) noexcept {
  return file.size() >= header_bytes && file.size() == header_bytes + facet_bytes * declared_facets(file);
}

bool same_word(std::string_view word, std::string_view lower) noexcept {
  return std::equal(word.begin(), word.end(), lower.begin(), lower.end(),
                    [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b; });
}

bool begins_as_text(Bytes file) {
  TextScanner text(file.first(std::min<std::size_t>(file.size(), header_bytes)));
  return text.more() && same_word(text.word(), "solid") &&
         text_of(file).substr(0, header_bytes).find('\0') == std::string_view::npos;
}

void expect(TextScanner& text, std::string_view wanted) {
  const bool more = text.more();
  if (!more || !same_word(text.word(), wanted))
    text.fail_here((more ? "'" : "the file ends where '") + std::string(wanted) + "' is expected");
}

// A facet, after its first word. Its normal follows from the corners.
void read_facet(TextScanner& text, PointIndex& points, Mesh& mesh) {
  text.skip_line();
  expect(text, "outer");
  expect(text, "loop");
  for (int corner = 0; corner < 3; ++corner) {
    expect(text, "vertex");
    const double x = text.number();
    const double y = text.number();
    mesh.add_corner(points.number_of(x, y, text.number()));
  }
  expect(text, "endloop");
  expect(text, "endfacet");
  mesh.end_face();
}

void read_solids(TextScanner& text, PointIndex& points, Mesh& mesh) {
  while (text.more()) {
    expect(text, "solid");
    for (text.skip_line();;) {
      if (!text.more()) text.fail_here("the file ends inside a solid");
      const std::string_view word = text.word();
      if (same_word(word, "endsolid")) break;
      if (!same_word(word, "facet")) text.fail_here("'facet' or 'endsolid' is expected");
      read_facet(text, points, mesh);
    }
    text.skip_line();
  }
}

void read_binary(Bytes file, PointIndex& points, Mesh& mesh) {
  for (const std::byte* at = file.data() + header_bytes; at != file.data() + file.size(); at += facet_bytes) {
    float corners[9];
    for (std::size_t i = 0; i < 9; ++i) corners[i] = stored_value<float, std::endian::little>(at + 12 + 4 * i);
    for (std::size_t i = 0; i < 9; i += 3)
      mesh.add_corner(points.number_of(corners[i], corners[i + 1], corners[i + 2]));
    mesh.end_face();
  }
}

bool recognizes_stl(Bytes file, std::string_view extension) {
  return extension == "stl" || begins_as_text(file) || (has_binary_size(file) && declared_facets(file) > 0);
}

Model3dParts read_stl(Bytes file) {
  Mesh mesh;
  PointIndex points(mesh);
  if (has_binary_size(file)) {
    read_binary(file, points, mesh);
  } else if (begins_as_text(file)) {
    TextScanner text(file);
    read_solids(text, points, mesh);
  } else if (file.size() < header_bytes) {
    fail("is not an STL file, or is cut off: a binary one has at least " + std::to_string(header_bytes) + " bytes");
  } else {
    fail("is not an STL file, or is damaged: as a binary one of " + std::to_string(declared_facets(file)) +
         " facets it would have " + std::to_string(header_bytes + facet_bytes * declared_facets(file)) +
         " bytes, but it has " + std::to_string(file.size()));
  }
  return mesh.finish();
}

}  // namespace

const MeshReader stl_reader{"STL", recognizes_stl, read_stl};

}  // namespace HalconCpp::detail
