// Writes the inputs from which each fuzz target starts: make_seeds FOLDER makes FOLDER/<target>/<file>.
#include <cstdio>
#include <filesystem>
#include <initializer_list>
#include <string>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "support/bytes.h"
#include "support/files.h"
#include "support/objects.h"
#include "support/values.h"

namespace {

using namespace test;
using namespace std::string_literals;

HObject all_objects() {
  return concat({with_domain(ramp(4, 3, 3), 0, 0, 1, 1), ramp(2, 2, 1, "real"), rectangle(0, 0, 2, 2),
                 contour({0, 1}, {0, 1}), polygon({0, 1}, {0, 1}), parallels()});
}

void make_containers(const std::string& folder) {
  save(all_objects(), folder + "/all.hobj");
  save(empty_object(), folder + "/none.hobj");
  save_dict(sample_dict(), folder + "/dict.hdict");
  HalconCpp::WriteObjectModel3d(sample_points(), (folder + "/points.om3").c_str());
  HalconCpp::WriteDlModel(new_dl_model(sample_dict()), (folder + "/model.hdl").c_str());
}

void make_pictures(const std::string& folder) {
  struct Picture {
    const char *name, *format, *type;
    int channels;
  };
  constexpr Picture pictures[] = {{"gray.png", "png", "byte", 1}, {"deep.png", "png", "uint2", 4},
                                  {"rgb.jpg", "jpg", "byte", 3},  {"gray.jpg", "jpg", "byte", 1},
                                  {"rgb.tif", "tiff", "byte", 3}, {"real.tif", "tiff", "real", 2},
                                  {"rgb.jp2", "jp2", "byte", 3},  {"deep.jp2", "jp2", "int2", 1},
                                  {"gray.bmp", "bmp", "byte", 1}, {"alpha.bmp", "bmp", "byte", 4}};
  for (const Picture& picture : pictures)
    HalconCpp::WriteImage(ramp(9, 5, picture.channels, picture.type), picture.format, 0,
                          (folder + "/" + picture.name).c_str());
  write(folder + "/runs.bmp",
        "BM" + le({0, 0, 58, 40, 4, 2}, 4) + le({1, 8}, 2) + le({1, 0, 0, 0, 1, 0}, 4) + "abcd\4\0\0\0\4\0\0\1"s);
  write(folder + "/image.gif", "GIF89a"s + le({3, 3}, 2) + "\x91\1\0"s + "aaabbbcccddd" +
                                   "!\xF9\4\1\0\0\2\0,\0\0\0\0"s + le({3, 3}, 2) +
                                   "\0\2\6\x44\xa8\x11\xa1\x46\x14\0;"s);
  write(folder + "/image.pcx", "\x0A\5\1\x08"s + le({0, 0, 3, 1, 72, 72}, 2) + std::string(48, 'p') + "\0\3"s +
                                   le({4, 1, 0, 0}, 2) + std::string(54, '\0') +
                                   "\xC4\1\xC4\2\xC4\3\xC4\4\xC4\5\xC4\6"s);
  write(folder + "/image.ras", be({0x59a66a95, 2, 1, 24, 6, 1, 0, 0}) + "abcdef");
  write(folder + "/runs.ras", be({0x59a66a95, 4, 1, 8, 3, 2, 1, 6}) + "abcdef\x80\3\1"s);
  write(folder + "/image.xwd",
        be({100, 7, 2, 24, 2, 1, 0, 0, 32, 0, 32, 32, 8, 4, 0xff0000, 0xff00, 0xff, 8, 0, 0, 2, 1, 0, 0, 0}) +
            "abcdefgh");
}

void make_texts(const std::string& folder) {
  int number = 0;
  const auto put = [&](const char* target, const std::string& content) {
    write(folder + "/" + target + "/" + std::to_string(number++), content);
  };
  // The last byte chooses: no options, all options, arrays to dictionaries.
  for (const char way : {'\0', '\x1f', '\x18'})
    put("json",
        R"({"a": [1, -2, 3e5, 0.25], "b": {"c": [true, false, null, {}], "d": [[1], [2, []]]}, "e\u0041": "\ud83d\ude00\n", "": ""})"s +
            way);
  put("json", "[1, \"x\", [2], 18446744073709551616]\0"s);
  for (const char* content : {"P1 3 2\n101\n010", "P2 # note\n2 2\n15 1 2 3 15", "P3 1 1 65535 1 2 3", "P4 9 1 ab",
                              "P5 2 1 255\nab", "P6 1 1 255\nabc", "P5 1 1 65535\nab",
                              "P7\nWIDTH 1\nHEIGHT 1\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\nabcd"})
    put("pnm", content);
  put("sequence", "a\n b.ppm\r\n\n../c\0P5 1 1 255\nx"s);
  put("sequence", "list/b\nfolder\na.pgm\n"s);
  put("sequence", "0\n1\n2\n3\n4\n5\n6\n7\n8\n9\n0\n../list/../9.pgm\n"s);
  put("sequence", "0\n1\n2\n3\n4\n5\n6\n7\nc\n8\n9\n\0P5 9 9 255\nx"s);
  const std::string png = read(folder + "/codecs/gray.png");
  put("sequence", "c\n0\n\0"s + png);
  put("sequence", "c\n0\n\0"s + png.substr(0, 20));
  put("sequence", "c\n0\n\0no image"s);
  const std::string head =
      "element vertex 2\nproperty float x\nproperty float y\nproperty float z\nproperty uchar red\nproperty uchar "
      "green\nproperty uchar blue\nelement face 1\nproperty list uchar int vertex_indices\nend_header\n";
  put("models", "ply\nformat ascii 1.0\n" + head + "0 0 1 9 9 9\n1 2 3 8 8 8\n3 0 1 0\n\0"s);
  put("models",
      "ply\nformat binary_little_endian 1.0\n" + head + std::string(30, 'A') + "\2" + std::string(8, '\0') + '\0');
  put("models", "mtllib m\no a\nv 0 0 0\nv 1 0 0 1 1 1\nv 0 1 0\nvn 0 0 1\nvt 0 0\nf 1//1 2//1 -1//1\nl 1 2\n\1");
  put("models",
      "solid a\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\nendloop\nendfacet\nendsolid "
      "a\n\2");
  put("models", std::string(80, 'h') + le({1}) + std::string(50, '\0') + "\2");
  put("models", "COFF\n3 1 0\n0 0 0 1 0 0 1\n1 0 0 9 9 9\n0 1 0\n3 0 1 2 5\n\3");
  const std::string type =
      message(2, message(1, "\x08\1"s + message(2, message(1, "\x08\3"s) + message(1, message(2, "N")))));
  const std::string graph = message(1, message(2, "y") + message(3, "n") + message(4, "Conv")) + message(2, "g") +
                            message(5, "\x08\2\x10\1"s + message(8, "w") + message(4, "abcd")) +
                            message(11, message(1, "x") + type) + message(12, message(1, "y") + type);
  put("onnx", "\x08\x08"s + message(2, "maker") + message(7, graph) + message(8, "\x10\x0d"s) +
                  message(14, message(1, "k") + message(2, "v")));
  // Make a Reader, open, look, draw, save.
  put("calls", std::string("\0\0\0\0\0\3\0\0\0\0\x0f\0\1\0\0\6\0\1\0\0\x0c\0\1\0\0\x0b\0\1\0\0", 30));
  put("calls", std::string("\0\1\0\0\0\1\1\0\0\1\x0f\5\1\0\0\2\1\0\1\2\x0e\1\0\1\1\0\1\0\0\0", 30));
  // Open one of the prepared files, then make every call on each of its first nodes.
  constexpr int parse[][2] = {{3, 0}, {1, 1}, {2, 2}, {4, 3}, {5, 4}, {3, 5}, {3, 6}};
  for (const auto& [call, path] : parse) {
    std::string steps = std::string(5, '\0') + bytes({call, 0, 0, 2, path});
    for (int node = 1; node < 9; ++node)
      for (int other = 6; other < 18; ++other) steps += bytes({other, 0, node, node % 2, node + other});
    put("calls", steps);
  }
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 2) return 2;
  const std::string folder = argv[1];
  for (const char* target :
       {"json", "container", "pnm", "codecs", "sequence", "models", "onnx", "calls", "calls-files"})
    std::filesystem::create_directories(folder + "/" + target);
  make_containers(folder + "/container");
  make_pictures(folder + "/codecs");
  make_texts(folder);
  const std::string files = folder + "/calls-files/calls.";
  save(all_objects(), files + "hobj");
  save_dict(sample_dict(), files + "hdict");
  write(files + "json", R"({"a": [1, 2, "x"], "b": {"c": null}})");
  HalconCpp::WriteObjectModel3d(sample_points(), (files + "om3").c_str());
  HalconCpp::WriteDlModel(new_dl_model(new_dict({{"type", "t"}})), (files + "hdl").c_str());
  HalconCpp::WriteImage(ramp(3, 2, 3), "png", 0, (files + "png").c_str());
  return 0;
} catch (const HalconCpp::HException& failure) {
  std::fprintf(stderr, "make_seeds: %s\n", failure.ErrorMessage().Text());
  return 1;
}
