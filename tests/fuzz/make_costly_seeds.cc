// Files made to cost much: many small parts, shared offsets, repeated references, keys that collide, boxes in boxes.
// make_costly_seeds FOLDER makes FOLDER/<target>/<file>.
#include <zlib.h>

#include <cstdio>
#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "support/bytes.h"
#include "support/files.h"
#include "support/values.h"

namespace {

using namespace test;
using namespace std::string_literals;

constexpr std::size_t some = 150000;  // bytes; the slope of a cost shows above the constant part of its limit

std::string repeated(const std::string& part, std::size_t bytes = some) { return test::repeated(part, bytes); }

// The texts of 0, 1, ... in turn, each as `part` lays it out.
std::string numbered(const std::function<std::string(const std::string&)>& part) {
  std::string all;
  for (int i = 0; all.size() < some; ++i) all += part(std::to_string(i));
  return all;
}

void make_json(const std::string& folder) {
  int number = 0;
  const auto put = [&](const std::string& content) { write(folder + "/" + std::to_string(number++), content); };
  for (const char* part : {"1,", "{},", "[],", "[[]],", "\"\",", "0.1,", "{\"\":1},", "[1,\"\"],", "[[1]],"})
    put("[" + repeated(part) + "0]");
  put("{" + repeated("\"k\":1,") + "\"k\":0}");
  put("{" + numbered([](const std::string& i) { return "\"" + i + "\":1,"; }) + "\"k\":0}");
  put("[" + numbered([](const std::string& i) { return "{\"" + i + "\":{}},"; }) + "0]");
  put("[" + repeated(std::string(1000, '[') + std::string(1000, ']') + ",") + "0]");
  put("[0." + std::string(some, '7') + "]");
  put("[\"" + repeated("\\u0001") + "\"]");
}

void make_containers(const std::string& folder) {
  HObject regions, planes = ramp(1, 1, 64);
  HalconCpp::GenEmptyRegion(&regions);
  for (int i = 0; i < 13; ++i) regions = concat({regions, regions});
  for (int i = 0; i < 6; ++i) HalconCpp::ConcatObj(planes, planes, &planes);
  const std::pair<const char*, HObject> objects[] = {
      {"regions", regions}, {"channels", ramp(1, 1, 4096)}, {"planes", planes}, {"contours", contour({}, {})}};
  for (const auto& [name, object] : objects) save(object, folder + "/" + name + ".hobj");
  HTuple handles, texts, mixed;
  const HTuple steps = new_dict(), shifted = new_dict(), named = new_dict();
  for (HalconCpp::Hlong i = 0; i < 6000; ++i) {
    handles.Append(new_dict());
    texts.Append("");
    mixed.Append(i % 2 ? HTuple("") : HTuple(i));
    HalconCpp::SetDictTuple(steps, i << 20, HTuple());
    HalconCpp::SetDictTuple(shifted, i << 48, HTuple());
    HalconCpp::SetDictTuple(named, std::to_string(i).c_str(), HTuple());
  }
  const std::pair<const char*, HTuple> dicts[] = {{"handles", new_dict({{"", handles}})},
                                                  {"texts", new_dict({{"", texts}})},
                                                  {"mixed", new_dict({{"", mixed}})},
                                                  {"steps", steps},
                                                  {"shifted", shifted},
                                                  {"named", named},
                                                  {"nested", nested_dicts(1000)}};
  for (const auto& [name, dict] : dicts) {
    save_dict(dict, folder + "/" + name + ".hdict");
    HalconCpp::WriteDlModel(new_dl_model(dict), (folder + "/" + name + ".hdl").c_str());
  }
}

std::string deflated(const std::string& bytes) {
  std::string packed(compressBound(bytes.size()), '\0');
  uLongf size = packed.size();
  compress2(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size(),
            9);
  packed.resize(size);
  return packed;
}

// A gray TIFF all of whose strips are the same bytes of the file.
std::string shared_strips(unsigned width, unsigned rows_per_strip, unsigned strips, unsigned compression,
                          const std::string& strip) {
  const auto size = static_cast<unsigned>(strip.size()), offsets = 8 + size, counts = offsets + 4 * strips;
  std::string file = "II*\0"s + le({counts + 4 * strips}) + strip;
  for (unsigned i = 0; i < strips; ++i) file += le({8});
  for (unsigned i = 0; i < strips; ++i) file += le({size});
  const unsigned entries[][3] = {{256, 1, width},      {257, 1, rows_per_strip * strips},
                                 {258, 1, 8},          {259, 1, compression},
                                 {262, 1, 1},          {273, strips, offsets},
                                 {277, 1, 1},          {278, 1, rows_per_strip},
                                 {279, strips, counts}};
  file += le({std::size(entries)}, 2);
  for (const auto& [tag, count, value] : entries) file += le({tag, 4}, 2) + le({count, value});
  return file + le({0});
}

std::string box(const char* type, const std::string& content) {
  return be({static_cast<std::int64_t>(content.size()) + 8}) + type + content;
}

std::string jp2(const std::string& in_header, const std::string& after_header, const std::string& at_end) {
  const std::string head =
      box("jP  ", "\r\n\x87\n") + box("ftyp", "jp2 \0\0\0\0jp2 "s) +
      box("jp2h", box("ihdr", be({64, 64}) + "\0\1\7\7\0\0"s) + box("colr", "\1\0\0"s + be({17})) + in_header);
  return head + after_header + box("jp2c", blank_codestream(64, 64, 64, 1)) + at_end;
}

void make_pictures(const std::string& folder) {
  const auto put = [&](const char* name, const std::string& content) { write(folder + "/" + name, content); };
  const std::string zeros = deflated(std::string(std::size_t{1} << 22, '\0'));
  put("deflated.tif", shared_strips(8192, 512, 64, 8, zeros));
  put("plain.tif", shared_strips(1024, 1, 4096, 1, std::string(1024, 'x')));
  put("runs.tif", shared_strips(8192, 16, 256, 32773, repeated("\x81x", 2 * 1024)));
  std::string nested;
  for (int i = 0; i < 200; ++i) nested = box("jp2h", nested);
  const std::string palette = "\4\0\3\7\7\7"s + std::string(std::size_t{3} * 1024, 'p');
  put("inside.jp2", jp2(box("pclr", palette), "", ""));
  put("after_header.jp2", jp2("", box("pclr", "\xff\xff\xff"s + std::string(700, '\7')), ""));
  put("after.jp2", jp2("", "", repeated(box("jp2h", box("ihdr", be({1 << 20, 1 << 20}) + "\x40\0\7\7\0\0"s)), 3000)));
  put("nested.jp2", jp2("", nested, nested));
  put("blank.j2k", blank_codestream(4000, 4000, 4000, 1));
  put("tiles.j2k", blank_codestream(250, 250, 10, 625));
  put("runs.bmp",
      "BM" + le({0, 0, 62, 40, 8000, 8000}) + le({1, 8}, 2) + le({1, 0, 0, 0, 1, 0}) + "aaa\0\0\0\0\0\0\1"s);
  const std::string frame = "!\xF9\4\1\0\0\2\0,\0\0\0\0"s + le({1, 1}, 2) + "\0\2\2\x44\1\0"s;
  put("frames.gif", "GIF89a"s + le({100, 100}, 2) + "\x91\0\0abcbbbcccddd" + repeated(frame, 20000) + ";");
  put("runs.pcx", "\x0A\5\1\x08"s + le({0, 0, 8191, 1023, 72, 72}, 2) + std::string(48, 'p') + "\0\1"s +
                      le({8192, 1, 0, 0}, 2) + std::string(54, '\0') + repeated("\xFFx", 20000));
  put("runs.ras", be({0x59a66a95, 8192, 1024, 8, 20000, 2, 0, 0}) + repeated("\x80\xFFx", 20000));
  HObject even;
  HalconCpp::GenImageConst(&even, "byte", 4000, 4000);
  for (const char* format : {"png", "jpg", "jp2", "bmp"}) {
    if (format == "bmp"s) HalconCpp::GenImageConst(&even, "byte", 400, 400);
    HalconCpp::WriteImage(even, format, 0, (folder + "/even." + format).c_str());
  }
}

std::string ply(const std::string& properties, const std::string& faces, std::size_t count) {
  return "ply\nformat binary_little_endian 1.0\nelement vertex 1\n" + properties + "element face " +
         std::to_string(count) + "\nproperty list uchar uchar vertex_indices\nend_header\nabc" + faces;
}

void make_models(const std::string& folder) {
  const std::string xyz = "property uchar x\nproperty uchar y\nproperty uchar z\n";
  write(folder + "/faces.ply", ply(xyz, repeated("\xff" + std::string(255, '\0'), 585 * 256), 585));
  write(folder + "/empty.ply", ply(xyz, std::string(some, '\0'), some));
  write(folder + "/faces.off", "OFF\n3 37500 0\n0 0 0\n0 1 0\n1 0 0\n" + repeated("1 0\n"));
  write(folder + "/points.off", "OFF\n25000 0 0\n" + repeated("0 0 0\n"));
  write(folder + "/corners.obj", "v 0 0 0\nf" + repeated(" 1"));
  write(folder + "/faces.obj", "v 0 0 0\n" + repeated("f 1 1 1\n"));
  write(folder + "/points.obj", repeated("v 0 0 0\n"));
  write(folder + "/facets.stl", "solid\n" +
                                    repeated("facet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 0 0 0\nvertex "
                                             "0 0 0\nendloop\nendfacet\n") +
                                    "endsolid\n");
  write(folder + "/binary.stl", std::string(80, '\0') + le({3000}) + std::string(150000, '\0'));
}

void make_onnx(const std::string& folder) {
  const auto put = [&](const char* name, const std::string& graph) {
    write(folder + "/" + name, "\x08\x08" + message(7, graph) + "\x42\2\x10\x0d");
  };
  for (const auto& [name, number] : {std::pair("nodes", 1), {"initializers", 5}, {"inputs", 11}, {"outputs", 12}})
    put(name, repeated(message(number, ""), 50000));
  put("attributes", message(1, repeated(message(5, ""), 50000)));
  put("names", message(1, repeated(message(1, ""), 50000)));
  std::string nested;
  for (int i = 0; i < 90 && nested.size() < 10000; ++i) nested = message(1, message(5, message(6, nested)));
  put("nested", repeated(message(1, nested), 50000));
  // A field that nobody knows, cut off; it declares 100 MB.
  write(folder + "/declared", "\x08\x08\x62\x80\xe1\xeb\x2f" + std::string(100, '\0'));
  put("dimensions", message(5, repeated("\x08\1", 50000)));
}

void make_lists(const std::string& folder) {
  int number = 0;
  const std::string picture = "\0P5 1000 1000 255\n"s + std::string(1000000, 'x');
  const auto put = [&](const std::string& list, const std::string& file) {
    write(folder + "/" + std::to_string(number++), list + file);
  };
  put(repeated("c.img\n", 20000), "\0P5 1 1 255\nx"s);
  put(repeated("c.img\n", 1000) + numbered([](const std::string&) { return "./c.img\n"; }).substr(0, 8000), picture);
  std::string spelled;
  for (int i = 1; i < 100; ++i) spelled += repeated("./", 2 * static_cast<std::size_t>(i)) + "c.img\n";
  put(spelled, picture);
  put(repeated("none\n", 20000), "\0"s);
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 2) return 2;
  const std::string folder = argv[1];
  for (const char* target : {"json", "container", "pnm", "codecs", "sequence", "models", "onnx"})
    std::filesystem::create_directories(native(folder + "/" + target));
  make_json(folder + "/json");
  make_containers(folder + "/container");
  make_pictures(folder + "/codecs");
  make_models(folder + "/models");
  make_onnx(folder + "/onnx");
  make_lists(folder + "/sequence");
  write(folder + "/pnm/digits", "P1 400 375 " + std::string(some, '1'));
  write(folder + "/pnm/numbers", "P2 250 300 65535 " + repeated("1 "));
  write(folder + "/pnm/bits", "P4 1000 1200 " + std::string(some, 'x'));
  return 0;
} catch (const HalconCpp::HException& failure) {
  std::fprintf(stderr, "make_costly_seeds: %s\n", failure.ErrorMessage().Text());
  return 1;
}
