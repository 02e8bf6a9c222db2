// STL, after the StereoLithography interface of 3D Systems (1989), as text (solid, facet, outer loop, vertex)
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

// Gives equal corners the same number. Corners mostly come again soon: those are found in a small table of recent ones,
// by a hash that is quick but not safe from chosen values, which only cost the search in the table of all.
class PointIndex {
 public:
  // `corners` are expected. In a mesh each comes six times on average: then the table need not grow.
  PointIndex(Mesh& mesh, std::size_t corners) : mesh_(mesh) {
    buckets_.resize(std::bit_ceil(std::max<std::size_t>(corners / 3, 1 << 10)));
  }

  std::uint32_t number_of(double x, double y, double z) {
    if (mesh_.x.size() * 2 > buckets_.size()) grow();
    const Bits bits{bits_of(x), bits_of(y), bits_of(z)};
    std::uint32_t& recent = recent_[quick_hash(bits)];
    if (recent == 0 || !is_point(recent - 1, bits)) recent = number_of(bits, x, y, z);
    return recent - 1;
  }

 private:
  using Bits = std::array<std::uint64_t, 3>;
  struct Bucket {
    std::uint32_t number = 0;  // of the point, plus 1; 0: free
    std::uint32_t half = 0;    // the upper half of its hash
  };

  static constexpr int recent_bits = 14;
  static std::size_t quick_hash(const Bits& bits) noexcept {
    constexpr std::uint64_t factors[] = {0x9E3779B97F4A7C15, 0xC2B2AE3D27D4EB4F, 0x165667B19E3779F9};  // odd, mixed
    const std::uint64_t sum = bits[0] * factors[0] + bits[1] * factors[1] + bits[2] * factors[2];
    return static_cast<std::size_t>((sum ^ sum >> 29) * factors[0] >> (64 - recent_bits));
  }
  // The number plus 1, by the table of all.
  std::uint32_t number_of(const Bits& bits, double x, double y, double z) {
    const std::uint64_t hash = hash_of_bits(bits);
    Bucket& bucket = bucket_of(bits, hash);
    if (bucket.number == 0) {
      check_count("points", mesh_.x.size() + 1, 0, 0);
      mesh_.add_point(x, y, z);
      bucket = {static_cast<std::uint32_t>(mesh_.x.size()), half_of(hash)};
    }
    return bucket.number;
  }

  // Equal coordinates have equal bits, -0 those of 0.
  static std::uint64_t bits_of(double value) noexcept { return std::bit_cast<std::uint64_t>(value + 0.0); }
  bool is_point(std::size_t point, const Bits& bits) const noexcept {
    return bits_of(mesh_.x[point]) == bits[0] && bits_of(mesh_.y[point]) == bits[1] &&
           bits_of(mesh_.z[point]) == bits[2];
  }
  static std::uint64_t hash_of_bits(const Bits& bits) noexcept {
    SipHash hash;
    for (const std::uint64_t word : bits) hash.add(word);
    return hash.finish();
  }
  static std::uint32_t half_of(std::uint64_t hash) noexcept { return static_cast<std::uint32_t>(hash >> 32); }

  // The bucket of the point with these coordinates, or the free one where it belongs.
  Bucket& bucket_of(const Bits& bits, std::uint64_t hash) noexcept {
    const std::size_t mask = buckets_.size() - 1;
    for (std::size_t at = hash & mask;; at = (at + 1) & mask) {
      Bucket& bucket = buckets_[at];
      if (bucket.number == 0 || (bucket.half == half_of(hash) && is_point(bucket.number - 1, bits))) return bucket;
    }
  }
  void grow() {
    buckets_.assign(buckets_.size() * 4, {});
    const std::size_t mask = buckets_.size() - 1;
    for (std::size_t point = 0; point < mesh_.x.size(); ++point) {
      const std::uint64_t hash =
          hash_of_bits({bits_of(mesh_.x[point]), bits_of(mesh_.y[point]), bits_of(mesh_.z[point])});
      std::size_t at = hash & mask;
      while (buckets_[at].number != 0) at = (at + 1) & mask;
      buckets_[at] = {static_cast<std::uint32_t>(point + 1), half_of(hash)};
    }
  }

  Mesh& mesh_;
  std::vector<std::uint32_t> recent_ = std::vector<std::uint32_t>(1 << recent_bits);  // 0: none, else the number plus 1
  std::vector<Bucket> buckets_;  // open addressing, at most half full
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
    const auto number = [&](std::size_t i) { return points.number_of(corners[i], corners[i + 1], corners[i + 2]); };
    const std::uint32_t a = number(0), b = number(3);
    mesh.add_triangle(a, b, number(6));
  }
}

bool recognizes_stl(Bytes file, std::string_view extension) {
  return extension == "stl" || begins_as_text(file) || (has_binary_size(file) && declared_facets(file) > 0);
}

Model3dParts read_stl(Bytes file) {
  Mesh mesh;
  PointIndex points(mesh, has_binary_size(file) ? 3 * declared_facets(file) : 0);
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
