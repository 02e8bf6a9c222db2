// What docs/limits.md promises: the memory and the time that a hostile file may cost. Each file is opened in a process
// of its own, whose peak is compared with that of a process that opens nothing.
#include "../halcon/core/limits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "support/bytes.h"
#include "support/cost_limits.h"
#include "support/files.h"
#include "support/host.h"
#include "support/objects.h"
#include "support/values.h"

namespace {

using namespace test;
using namespace std::string_literals;
namespace limits = HalconCpp::detail::limits;

// A sanitizer's own memory and time do not count: under one the files are small, and nothing is compared.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif
constexpr std::size_t some = sanitized ? 10000 : 300000;
using cost::mib;

struct Cost {
  double bytes;
  double seconds;
  bool opens;
};

constexpr int opened = 10, rejected = 11;

// What a process costs that does this, and whether it succeeds.
Cost cost_of(const std::function<bool()>& body) {
  malloc_trim(0);  // or the child would find room that is counted already
  const pid_t child = fork();
  if (child == 0) _exit(body() ? opened : rejected);
  int status = -1;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  EXPECT_TRUE(WIFEXITED(status) && (WEXITSTATUS(status) == opened || WEXITSTATUS(status) == rejected)) << status;
  return {1024.0 * static_cast<double>(usage.ru_maxrss), seconds(usage.ru_utime) + seconds(usage.ru_stime),
          WEXITSTATUS(status) == opened};
}

HTuple many_of(const HTuple& element, std::size_t count) {
  HTuple all;
  for (std::size_t i = 0; i < count; ++i) all.Append(element);
  return all;
}

std::string onnx(const std::string& entry, std::size_t bytes) {
  return "\x08\x08" + message(7, repeated(entry, bytes)) + "\x42\2\x10\x0d";
}

// An object file of that many empty regions.
void save_regions(const std::string& path, int doublings) {
  HObject all;
  HalconCpp::GenEmptyRegion(&all);
  for (int i = 0; i < doublings; ++i) all = concat({all, all});
  save(all, path);
}

class Limits : public ::testing::Test {
 protected:
  // Opens the file and compares.
  void expect_within(FileKind kind, const std::string& name, const cost::Limit& limit) {
    const std::string path = folder / name;
    const double size = static_cast<double>(std::filesystem::file_size(path));
    const Cost nothing = cost_of([&] { return Reader().parse(kind, folder / "nothing") != nullptr; });
    const Cost cost = cost_of([&] { return Reader().parse(kind, path) != nullptr; });
    const double bytes = cost.bytes - nothing.bytes;
    std::printf("%-18s %8.0f bytes: %6.1f MiB, %5.1f bytes per byte, %.2f s\n", name.c_str(), size, bytes / mib,
                bytes / size, cost.seconds);
    EXPECT_EQ(cost.opens, !name.starts_with("rejected"));
    if (sanitized) return;
    EXPECT_LT(bytes, limit.bytes(size)) << name;
    EXPECT_LT(cost.seconds, cost::seconds(size)) << name;
  }
  void expect_within(FileKind kind, const std::string& name, const std::string& content, const cost::Limit& limit) {
    write(folder / name, content);
    expect_within(kind, name, limit);
  }

  TempDir folder;
};

TEST_F(Limits, OfDictionariesAndModels) {
  for (const auto& [name, element] : std::initializer_list<std::pair<const char*, const char*>>{
           {"dicts.json", "{},"}, {"arrays.json", "[],"}, {"ints.json", "1,"}, {"nested.json", "[[]],"}})
    expect_within(FileKind::Dict, name, "[" + repeated(element, some) + "0]", cost::json);
  expect_within(FileKind::Dict, "text.json", "[\"" + std::string(20 * some, 'x') + "\"]",
                cost::Limit{"", 16, 16 * mib});
  for (const auto& [name, entry] : std::initializer_list<std::pair<const char*, std::string>>{
           {"init.onnx", "\x2a\0"s}, {"input.onnx", "\x5a\0"s}, {"node.onnx", "\x0a\0"s}})
    expect_within(FileKind::DlModel, name, onnx(entry, some), cost::onnx);
  const std::string points = "OFF\n3 " + std::to_string(some / 2) + " 0\n0 0 0\n0 1 0\n1 0 0\n";
  expect_within(FileKind::Model3d, "faces.off", points + repeated("1 0\n", 2 * some), cost::mesh);
  expect_within(FileKind::Model3d, "corners.obj", "v 0 0 0\nf" + repeated(" 1", some), cost::mesh);
  const std::string thing = "property list uchar uchar vertex_indices\nend_header\n";
  expect_within(FileKind::Model3d, "faces.ply",
                "ply\nformat binary_little_endian 1.0\nelement vertex 1\nproperty uchar x\nproperty uchar y\n"
                "property uchar z\nelement face 6000\n" +
                    thing + "abc" + repeated("\xff" + std::string(255, '\0'), 6000 * 256),
                cost::mesh);
  save_regions(folder / "many.hobj", sanitized ? 10 : 15);
  expect_within(FileKind::Object, "many.hobj", cost::container);
  const HTuple dict = new_dict({{"dicts", many_of(new_dict(), some / 10)}});
  save_dict(dict, folder / "dicts.hdict");
  expect_within(FileKind::Dict, "dicts.hdict", cost::container);
  HalconCpp::WriteDlModel(new_dl_model(dict), (folder / "dicts.hdl").c_str());
  expect_within(FileKind::DlModel, "dicts.hdl", cost::container);
  // 1 pixel per channel: what a channel costs, not what it holds.
  const HObject pixel = ramp(1, 1, 1000);
  HObject pixels = pixel;
  for (int i = 0; i < (sanitized ? 2 : 400); ++i) HalconCpp::ConcatObj(pixels, pixel, &pixels);
  save(pixels, folder / "channels.hobj");
  expect_within(FileKind::Object, "channels.hobj", cost::container);
  HTuple keys;  // that differ in their upper bits only
  HalconCpp::CreateDict(&keys);
  for (std::uint64_t i = 0; i < some * 2 / 5; ++i)
    HalconCpp::SetDictTuple(keys, static_cast<HalconCpp::Hlong>(i << 47), HTuple());
  save_dict(keys, folder / "keys.hdict");
  expect_within(FileKind::Dict, "keys.hdict", cost::container);
  const HTuple zeros = many_of(0.0, some / 24);
  HTuple points3d;
  HalconCpp::GenObjectModel3dFromPoints(zeros, zeros, zeros, &points3d);
  HalconCpp::WriteObjectModel3d(points3d, (folder / "points.om3").c_str());
  expect_within(FileKind::Model3d, "points.om3", cost::container);
}

TEST_F(Limits, OfImages) {
  if (sanitized) GTEST_SKIP() << "the fuzz targets open small pictures, and filling large ones takes long";
  expect_within(FileKind::Object, "blank.jp2", blank_codestream(4000, 4000, 4000, 1), cost::image);
  expect_within(FileKind::Object, "rejected.jp2", blank_codestream(40000, 40000, 40000, 1), cost::Limit{"", 0, mib});
  expect_within(FileKind::Object, "rejected-tiles.jp2", blank_codestream(250, 250, 1, 62500), cost::image);
  expect_within(
      FileKind::Object, "runs.bmp",
      "BM" + le({0, 0, 62, 40, 8000, 8000}, 4) + le({1, 8}, 2) + le({1, 0, 0, 0, 1, 0}, 4) + "aaa\0\0\0\0\0\0\1"s,
      cost::image);
  expect_within(
      FileKind::Object, "screen.gif",
      "GIF89a"s + le({8000, 2600}, 2) + "\x91\0\0abcbbbcccddd,\0\0\0\0\3\0\3\0\0\2\6\x44\xa8\x11\xa1\x46\x14\0;"s,
      cost::image);
  HObject even;
  HalconCpp::GenImageConst(&even, "byte", 4000, 4000);
  for (const char* format : {"png", "tiff", "jpg", "jp2"}) {
    HalconCpp::WriteImage(even, format, 0, (folder / "even").c_str());
    std::filesystem::rename(native(folder / "even"), native(folder / ("even."s + format)));
    expect_within(FileKind::Object, "even."s + format, cost::image);
  }
  expect_within(FileKind::Object, "digits.pbm", "P1 1000 1000 " + std::string(1000000, '1'),
                cost::Limit{"", cost::pnm.per_byte, mib});
  // A list costs what the files cost that it names, however often it names them.
  write(folder / "one.pgm", "P5 1000 1000 255\n" + std::string(1000000, 'x'));
  expect_within(FileKind::Object, "list.seq", repeated("one\n", 4000), cost::Limit{"", 0, 16 * mib});
}

// Whatever a file declares or holds, one call takes no more than the ceiling.
TEST_F(Limits, OfOneCall) {
  const auto reason = [&](const char* limit, FileKind kind, const std::string& name) {
    setenv("QUOVEL_MEMORY_LIMIT", limit, 1);
    Reader reader;
    return reader.parse(kind, folder / name) ? "opens" : reader.error();
  };
  constexpr std::size_t large = 6 << 20;
  const std::string zeros(large, '0');
  write(folder / "image.pgm", "P5 3072 2048 255\n" + zeros);
  write(folder / "other.pgm", "P5 3072 2048 255\n" + zeros);
  write(folder / "two.seq", "image\nother\n");
  write(folder / "text.json", "[\"" + zeros + "\"]");
  write(folder / "list.json", "[" + repeated("[[]],", 1 << 19) + "0]");
  write(folder / "points.obj", repeated("v 0 0 0\n", large / 2));
  write(folder / "model.onnx", onnx("\x5a\0"s, 1 << 18));
  save(rectangle(0, 0, 600000, 5), folder / "region.hobj");
  std::ofstream(native(folder / "sparse.pgm")) << "P5 30000 30000 255\n";
  std::filesystem::resize_file(native(folder / "sparse.pgm"), std::uintmax_t{1} << 30);
  const std::tuple<FileKind, const char*, const char*> cases[] = {
      {FileKind::Object, "image.pgm", "16M"},    {FileKind::Object, "two.seq", "32M"},
      {FileKind::Dict, "text.json", "64M"},      {FileKind::Dict, "list.json", "512M"},
      {FileKind::Model3d, "points.obj", "128M"}, {FileKind::Object, "region.hobj", "64M"},
      {FileKind::DlModel, "model.onnx", "2G"},   {FileKind::Object, "sparse.pgm", "4G"}};
  for (const auto& [kind, name, enough] : cases) {
    EXPECT_THAT(reason("5m", kind, name), testing::HasSubstr("more memory than one call may take: 5242880 bytes ("))
        << name;
    const bool opens = name != "sparse.pgm"s;  // filling 1 GiB takes too long
    if (opens) {
      EXPECT_EQ(reason(enough, kind, name), "opens");
    }
  }
  EXPECT_THAT(reason("15872K", FileKind::Object, "two.seq"), testing::HasSubstr(": 16252928 bytes ("));
  EXPECT_THAT(reason("1", FileKind::Object, "two.seq"), testing::HasSubstr(": 1 byte ("));
  for (const char* wrong : {"0", "-1", "5x", "5MB", "many", "99999999999G", "18446744073709551616"})
    for (const auto& [kind, name] : {std::pair(FileKind::Dict, "text.json"), {FileKind::Object, "image.pgm"}})
      EXPECT_THAT(reason(wrong, kind, name), testing::HasSubstr(name + "': QUOVEL_MEMORY_LIMIT is '"s + wrong));
  unsetenv("QUOVEL_MEMORY_LIMIT");
}

// With a comma before each three digits.
std::string grouped(std::uint64_t number) {
  std::string text = std::to_string(number);
  for (std::size_t at = text.size(); at > 3;) text.insert(at -= 3, ",");
  return text;
}

TEST(Document, StatesTheLimitsThatHold) {
  std::ifstream file(QUOVEL_DOCS "/limits.md");
  const std::string document{std::istreambuf_iterator<char>(file), {}};
  const auto number = [](double value) { return std::to_string(std::llround(value)); };
  std::vector<std::string> expected = {
      "at most " + number(cost::least_seconds) + " s, and " + number(1e6 * cost::seconds_per_byte) + " µs per byte",
      "decompress to " + number(static_cast<double>(limits::decoded_free) / mib) + " MiB or to " +
          std::to_string(limits::decoded_per_byte) + " bytes per byte",
      "MiB or " + std::to_string(limits::tables_per_byte) + " bytes per byte",
      "at most " + std::to_string(limits::jpeg_scans) + " scans",
      "at most " + std::to_string(limits::nesting) + " deep, ONNX messages " + std::to_string(limits::onnx_nesting),
      "at most " + grouped(limits::file_images) + "; the rule",
      "at most " + grouped(limits::image_side) + " rows and columns, " + std::to_string(limits::image_channels) +
          " channels and " + std::to_string(limits::image_bytes >> 30) + " GiB"};
  expected.push_back("more than " + std::to_string(limits::decoded_at_once >> 20) + " MiB together are decoded when");
  expected.push_back("keeps " + std::to_string(limits::decoded_cache >> 20) + " MiB");
  for (const cost::Limit& limit : cost::all)
    expected.push_back("| "s + limit.kind + " | " + number(limit.per_byte) + " · n, " + number(limit.least / mib) +
                       " MiB |");
  for (const std::string& text : expected) EXPECT_THAT(document, testing::HasSubstr(text));
}

}  // namespace
