// What files do to a Reader: nothing stays open after a failure, a save that fails leaves its target and its folder as
// they were, and a file that changes while it is read is a result or a failure like any other.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <iosfwd>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "support/files.h"
#include "support/host.h"
#include "support/objects.h"
#include "support/scenarios.h"

namespace {

using namespace test;

std::ptrdiff_t open_files() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return std::distance(begin(all), end(all));
}

// A system that lets no file grow beyond some bytes, as a full disk does not.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) : before_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &limit_);
    const rlimit low{bytes, limit_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &low);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &limit_);
    std::signal(SIGXFSZ, before_);
  }

 private:
  void (*before_)(int);
  rlimit limit_{};
};

std::vector<std::string> names_in(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

TEST(FailingFiles, NothingStaysOpen) {
  Scenarios scenarios;
  const TempDir folder;
  const Reader reader;
  const auto before = open_files();
  int rejected = 0;
  for (const std::string& file : scenarios.files()) {
    const std::string content = read(file), name = folder / ("cut." + file.substr(file.rfind('.') + 1));
    for (std::size_t size = 0; size < content.size(); size += 1 + content.size() / 40) {
      write(name, content.substr(0, size));
      for (const FileKind kind : {FileKind::Dict, FileKind::Object, FileKind::Model3d, FileKind::DlModel})
        rejected += !reader.parse(kind, name) && !reader.error().empty();
    }
    EXPECT_EQ(open_files(), before) << file;
  }
  for (const std::string& path :
       {folder.path(), folder / "none.png", std::string("/dev/zero"), std::string("/dev/full")})
    for (const FileKind kind : {FileKind::Dict, FileKind::Object, FileKind::Model3d, FileKind::DlModel})
      EXPECT_FALSE(reader.parse(kind, path)) << path;
  EXPECT_EQ(open_files(), before);
  EXPECT_GT(rejected, 1000);
  std::printf("%d bad inputs rejected\n", rejected);
}

TEST(FailingFiles, AFullDiskLeavesTargetsAsTheyWere) {
  const TempDir folder;
  HTuple row, column, dict;
  for (int i = 0; i < 1000; ++i) {
    row.Append(i * 0.37);
    column.Append(i * 0.73);
  }
  HObject contour;
  HalconCpp::GenContourPolygonXld(&contour, row, column);
  save(concat({ramp(200, 100), contour}), folder / "in.hobj");
  HalconCpp::CreateDict(&dict);
  HalconCpp::SetDictTuple(dict, "rows", row);
  save_dict(dict, folder / "in.hdict");
  const Reader reader;
  const qv_node* const root = reader.objects(folder / "in.hobj");
  ASSERT_TRUE(root);
  const std::string targets[] = {"out.hobj", "out.bmp", "out.pgm", "out.tif", "out.dxf", "out.json", "out.hdict"};
  for (const std::string& target : targets) write(folder / target, "as before");
  const auto names = names_in(folder.path());
  const auto open = open_files();
  const auto attempt = [&](const std::string& target) {
    if (target.ends_with(".json") || target.ends_with(".hdict"))
      return qv_reader_convert_dict_file(reader, units(wide(folder / "in.hdict")), units(wide(target)), 0) == 1;
    return reader.save(qv_node_child_at(root, target.ends_with(".dxf") ? 1 : 0), target);
  };
  for (const std::string& target : targets) {
    for (const rlim_t room : {0, 1, 4096}) {
      const FullDisk full(room);
      EXPECT_FALSE(attempt(folder / target)) << target << " " << room;
      EXPECT_NE(reader.error(), "");
    }
    EXPECT_EQ(read(folder / target), "as before");
    EXPECT_EQ(names_in(folder.path()), names) << target;
  }
  for (const char* device : {"/dev/full"}) EXPECT_FALSE(reader.save(qv_node_child_at(root, 0), device));
  EXPECT_EQ(open_files(), open);
  for (const std::string& target : targets) EXPECT_TRUE(attempt(folder / target)) << reader.error();
}

TEST(FailingFiles, AFileMayChangeWhileItIsRead) {
  Scenarios scenarios;
  const TempDir folder;
  for (const std::string& file : scenarios.files()) {
    const std::string content = read(file), name = folder / ("in." + file.substr(file.rfind('.') + 1));
    std::atomic<bool> done{false};
    std::thread writer([&] {
      for (std::size_t i = 0; !done; ++i) {
        write(name, content.substr(0, content.size() * (i % 4) / 3));
        write(name, content + content);
        write(name, content);
      }
    });
    const Reader reader;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
    while (std::chrono::steady_clock::now() < end)
      for (const FileKind kind : {FileKind::Dict, FileKind::Object, FileKind::Model3d, FileKind::DlModel}) {
        const qv_node* const root = reader.parse(kind, name);
        EXPECT_EQ(root == nullptr, !reader.error().empty());
      }
    done = true;
    writer.join();
  }
}

}  // namespace
