// 3D object models: every format, the parameters of a model, and files that declare more than they hold.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstdio>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "support/bytes.h"
#include "support/files.h"
#include "support/objects.h"
#include "support/values.h"

namespace {

using namespace HalconCpp;
using namespace test;
using ::testing::AllOf, ::testing::HasSubstr, ::testing::StartsWith;

// "1 0.5 true"
std::string text(const HTuple& values) {
  std::string text;
  for (Hlong i = 0; i < values.Length(); ++i) {
    char number[32] = "";
    const bool is_text = HTuple(values[i]).TupleIsStringElem()[0].L() != 0;
    if (!is_text) std::snprintf(number, sizeof number, "%g", values[i].D());
    text += (i > 0 ? " " : "") + (is_text ? std::string(values[i].S().Text()) : number);
  }
  return text;
}

class Model3d : public ::testing::Test {
 protected:
  HTuple open(const std::string& name, const std::string& content, const HTuple& scale = "m") {
    write(folder / name, content);
    HTuple model, status;
    ReadObjectModel3d((folder / name).c_str(), scale, HTuple(), HTuple(), &model, &status);
    return model;
  }
  std::string failure_of(const std::string& name, const std::string& content, const HTuple& scale = "m") {
    return failure([&] { open(name, content, scale); });
  }
  TempDir folder;
};

const std::string square_header =
    "element vertex 4\nproperty float x\nproperty float y\nproperty float z\n"
    "element face 1\nproperty list uchar int vertex_indices\nend_header\n";
const std::string ascii = "ply\nformat ascii 1.0\n";
constexpr float square[4][3] = {{0, 0, 0}, {2, 0, 0}, {2, 1, 0}, {0, 1, 0}};

// A text PLY of points with further properties.
std::string ply(int count, const std::vector<std::string>& properties, const std::string& rows) {
  std::string header = "ply\r\nformat ascii 1.0\r\nelement other 2\r\nproperty list int int l\r\nelement vertex " +
                       std::to_string(count) + "\r\nproperty double x\r\nproperty int y\r\nproperty float z\r\n";
  for (const std::string& property : properties) header += "property " + property + "\r\n";
  return header + "end_header\r\n2 7 7\r\n0\r\n" + rows;
}

std::string binary_ply(bool big_endian) {
  const auto put = big_endian ? be : le;
  std::string bytes = std::string("ply\nformat binary_") + (big_endian ? "big" : "little") + "_endian 1.0\n";
  bytes += square_header;
  for (const auto& corner : square)
    for (const float value : corner) bytes += put({std::bit_cast<std::int32_t>(value)}, 4);
  return bytes + '\4' + put({0, 1, 2, 3}, 4);
}

// Begins with "solid", as some programs write binary files.
std::string binary_stl() {
  std::string bytes = "solid" + std::string(75, ' ');
  bytes += le({2});
  for (const auto& facet : {std::vector{0, 1, 2}, std::vector{0, 2, 3}}) {
    bytes.append(12, '\0');
    for (const int point : facet)
      for (const float value : square[point]) bytes += le({std::bit_cast<std::int32_t>(value)});
    bytes.append(2, '\0');
  }
  return bytes;
}

// The same rectangle in every format.
const std::vector<std::pair<const char*, std::string>> rectangles = {
    {"a.ply", ascii + "comment c\n" + square_header + "0 0 0\n2 0 0\n2 1 0\n0 1 0\n4 0 1 2 3\n"},
    {"little.ply", binary_ply(false)},
    {"big.ply", binary_ply(true)},
    {"a.off", "OFF 4 1 4\n0 0 0\n2 0 0\n# c\n2 1 0\n0 1 0\n4 0 1 2 3\n"},
    {"a.stl",
     "solid a\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 2 0 0\nvertex 2 1 0\nendloop\nendfacet\n"
     "FACET NORMAL 0 0 1\nOUTER LOOP\nVERTEX -0 0 0\nVERTEX 2 1 0\nVERTEX 0 1 0\nENDLOOP\nENDFACET\nENDSOLID\n"},
    {"binary.stl", binary_stl()},
    {"a.obj", "# c\nv 0 0 0\nv 2 0 0 # c\nv 2 1 0\nv 0 1 0\ng x\nf 1/1 2//2 -2/3/3 \\\n 4\n"},
};

TEST_F(Model3d, EveryFormatKeepsPointsAndFaces) {
  for (const auto& [name, content] : rectangles)
    for (const std::string& file : {std::string(name), std::string("by content")}) {
      SCOPED_TRACE(name + (" as " + file));
      const HTuple model = open(file, content);
      EXPECT_EQ(text(model3d_param(model, "point_coord_x")), "0 2 2 0");
      EXPECT_EQ(text(model3d_param(model, "point_coord_y")), "0 0 1 1");
      EXPECT_EQ(text(model3d_param(model, "triangles")), "0 1 2 0 2 3");
      EXPECT_EQ(text(model3d_param(model, "bounding_box1")), "0 0 0 2 1 0");
    }
}

// Text whose last word is cut off may still be whole, and an OBJ has no end.
TEST_F(Model3d, EveryCutIsRejected) {
  for (const auto& [name, content] : rectangles) {
    const std::size_t whole = content.size() - (content.back() == '\n' ? 2 : 0);
    for (std::size_t size = 0; size < whole && name[2] != 'o'; ++size)
      EXPECT_NE(failure_of(std::to_string(size) + name, content.substr(0, size)), "") << name << " cut to " << size;
  }
}

std::string utf16(const std::string& text, std::endian order) {
  std::string units;
  for (const char c : text) units += order == std::endian::big ? std::string{'\0', c} : std::string{c, '\0'};
  return units;
}

TEST_F(Model3d, DetailsOfFormats) {
  const std::string relative = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf -3 -2 -1\nf -1 -2 -3\n";
  const std::string triangle = "v 0 0 0\nv 1 0 0\nv 0 1 0\nvn 1 0 0\nvn 2 0 0\nvn 3 0 0\n";
  const std::tuple<const char*, std::string, const char*, const char*> cases[] = {
      {"points.ply", ply(2, {}, "1.5 2 3\r\n4 5 6\r\n"), "point_coord_x", "1.5 4"},
      {"normals.ply", ply(2, {"float nx", "float ny", "float nz"}, "5 5 5 0 0 1\n6 6 6 1 0 0"), "point_normal_x",
       "0 1"},
      {"no_nz.ply", ply(1, {"float nx", "float ny"}, "5 5 5 0 0"), "has_point_normals", "false"},
      {"uchar.ply", ply(2, {"uchar red", "uchar green", "uchar blue"}, "0 0 0 1 2 3\n0 0 0 4 255 6"),
       "point_color_green", "2 255"},
      {"ushort.ply", ply(2, {"ushort red", "ushort green", "ushort blue"}, "0 0 0 65535 2 3\n0 0 0 257 5 6"),
       "point_color_red", "255 1"},
      {"float.ply", ply(2, {"float red", "float green", "float blue"}, "0 0 0 1 0 nan\n0 0 0 0.5 0 -1"),
       "point_color_red", "255 128"},
      {"nan.ply", ply(2, {}, "nan 2 nan\n4 5 6\n"), "bounding_box1", "4 2 6 4 5 6"},
      {"relative.obj", relative, "triangles", "0 1 2 2 1 0"},
      {"numbers.obj", "v +1 2. 3.1+e2\nv 1e-2 -.5 3.1-e2\n", "point_coord_z", "310 0.031"},
      {"colors.obj", "v 0 0 0 0 0.5 1\nv 1 1 1 1 1 1\n", "point_color_green", "128 255"},
      {"cloud.obj", "vn 0 0 1\nv 0 0 0\nvn 0 1 0\nv 1 1 1\n", "point_normal_y", "0 1"},
      {"swapped.obj", triangle + "f 1//3 2//2 3//1\n", "point_normal_x", "3 2 1"},
      {"shared.obj", triangle + "f 1//1 2//1 3//1\nf 1//2 2//2 3//2\n", "has_point_normals", "false"},
      {"c.off", "\n# c\nSTCNOFF\n1 0\n1 2 3  0 0 1  255 128 0 255  0.5 0.5\n", "point_color_green", "128"},
      {"n.off", "NOFF\n1 0 0\n1 2 3 0 0 1\n", "point_normal_z", "1"},
      {"blanks.off", " \t\n  OFF\n  2 0 0\n\t0 0 0\n 1 1 1\n", "point_coord_x", "0 1"},
      {"big.obj", "\xFE\xFF" + utf16(relative, std::endian::big), "triangles", "0 1 2 2 1 0"},
      {"unmarked_big.obj", utf16(relative, std::endian::big), "triangles", "0 1 2 2 1 0"},
      {"unmarked_little.obj", utf16(relative, std::endian::little), "triangles", "0 1 2 2 1 0"},
      {"wide_header.stl", utf16(std::string(40, 'h'), std::endian::big) + le({1}) + std::string(50, '\0'), "num_points",
       "1"},
      {"little.obj", "\xFF\xFE" + utf16(relative, std::endian::little), "triangles", "0 1 2 2 1 0"},
      {"signed.ply",
       "ply\nformat binary_little_endian 1.0\nelement vertex 1\nproperty char x\nproperty char y\nproperty char z\n"
       "element face 1\nproperty list char char vertex_indices\nend_header\nabc\xC8" +
           std::string(200, '\0'),
       "num_triangles", "198"},
      {"line.off", "OFF\n2 1 0\n0 0 0\n1 1 1\n2 0 1 0.5 0.5 0.5\n", "num_faces", "1"},
      {"two.stl", rectangles[4].second + rectangles[4].second, "num_points", "4"},
      {"empty.stl", "solid nothing\nendsolid nothing\n", "num_points", "0"},
  };
  for (const auto& [name, content, parameter, value] : cases) {
    SCOPED_TRACE(name);
    EXPECT_EQ(text(model3d_param(open(name, content), parameter)), value);
  }
}

TEST_F(Model3d, ErrorsSayWhatIsWrong) {
  const std::string origins = "0 0 0\n0 0 0\n0 0 0\n0 0 0\n", xy = "property float x\nproperty float y\n";
  const std::tuple<const char*, std::string, const char*> cases[] = {
      {"billion.ply", ply(1000000000, {}, "0 0 0\n"), "1000000000 elements 'vertex', but only 6 bytes follow"},
      {"twice.ply", ply(1, {"float nx", "float nx"}, "0 0 0 0 0\n"), "twice"},
      {"no_z.ply", ascii + "element vertex 1\n" + xy + "end_header\n1 1\n", "no x, y and z"},
      {"list.ply", ascii + square_header + origins + "4000000000 0 1 2\n", "more elements than the file holds"},
      {"short.ply", ascii + square_header + "0 0 0\n0 0\n0 0 0\n0 0 0\n3 0 1 2\n", "line 11: a number is missing"},
      {"face.ply", ascii + square_header + origins + "3 0 1 4\n", "point 4 (counted from 0), but there are only 4"},
      {"negative.ply", ascii + square_header + origins + "3 0 1 -1\n", "names point -1"},
      {"billion.off", "OFF\n1000000000 0 0\n0 0 0\n", "declares 1000000000 vertices"},
      {"huge.off", "OFF\n353535235358 6 0\n0 0 0\n", "more than the limit of 2147483647"},
      {"four.off", "4OFF\n1 0 0\n0 0 0 1\n", "three coordinates"},
      {"binary.off", "OFF BINARY\n1 0 0\n", "binary OFF"},
      {"word.obj", "v 0 0 zero\n", "line 1: 'zero' is not a number"},
      {"range.obj", "v 0 0 1e999\n", "beyond the range"},
      {"index.obj", "v 0 0 0\nf 1 1 9\n", "names point 8"},
      {"zero.obj", "v 0 0 0\nf 1 1 0\n", "'0' is not a corner"},
      {"back.obj", "v 0 0 0\nf 1 1 -2\n", "line 2: index -2"},
      {"empty.obj", "# nothing\n", "no vertices"},
      {"facets.stl", binary_stl() + "x", "of 2 facets it would have 184 bytes, but it has 185"},
      {"word.stl", "solid a\nfacet normal 0 0 1\nouter lop\n", "line 3: 'loop' is expected"},
      {"a.om3", "HALCON", "needs a build against it"},
      {"a.txt", "some text", "is not a 3D model file of a known format"},
      {"a.off", "no such thing", "is not a 3D model file of a known format"},
      {"nothing.ply", "", "empty"},
  };
  for (const auto& [name, content, reason] : cases)
    EXPECT_THAT(failure_of(name, content),
                AllOf(StartsWith("ReadObjectModel3d: '"), HasSubstr(name), HasSubstr(reason)));
  EXPECT_THAT(failure_of("a.off", rectangles[3].second, "mm"), HasSubstr("scale"));
  HTuple model, status;
  for (const HTuple& values : {HTuple(), HTuple(1)})
    EXPECT_THROW(ReadObjectModel3d((folder / "a.off").c_str(), "m", "a", values, &model, &status), HException);
}

TEST_F(Model3d, ModelsTellTheirExtent) {
  HTuple points, sphere, nothing;
  GenObjectModel3dFromPoints(tuple({-1, 1}), tuple({-1.0, 2}), tuple({1, 3}), &points);
  GenSphereObjectModel3d(1, 2, 3, 0.5, &sphere);
  GenObjectModel3dFromPoints(HTuple(), HTuple(), HTuple(), &nothing);
  HTuple names = tuple({"num_points", "has_primitive_data", "primitive_type"});
  EXPECT_EQ(text(model3d_param(nothing, names)), "0 false none");
  EXPECT_THROW(model3d_param(nothing, "center"), HException);
  names.Append(tuple({"center", "diameter_axis_aligned_bounding_box", "bounding_box1"}));
  EXPECT_EQ(text(model3d_param(points, names)), "2 false none 0 0.5 2 4.12311 -1 -1 1 1 2 3");
  EXPECT_EQ(text(model3d_param(sphere, names)), "0 true sphere 1 2 3 1.73205 0.5 1.5 2.5 1.5 2.5 3.5");
  EXPECT_THROW(GenObjectModel3dFromPoints(1, 2, HTuple(), &points), HException);
  EXPECT_THROW(GenObjectModel3dFromPoints(1, "a", 3, &points), HException);
  EXPECT_THROW(GenSphereObjectModel3d(1, 2, 3, 0, &sphere), HException);
  EXPECT_THROW(model3d_param(HTuple(1), "num_points"), HException);
}

}  // namespace
