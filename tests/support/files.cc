#include "support/files.h"

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <random>
#include <system_error>

namespace test {

namespace fs = std::filesystem;

namespace {

// Small files of the tests are kept in this folder, if it is named, for tools/fuzz-inputs.
void keep(const std::string& content, const fs::path& name) {
  static const char* const folder = std::getenv("QUOVEL_KEEP_FILES");
  if (!folder || content.size() > 4096) return;
  const std::string number = std::to_string(std::hash<std::string>()(content));
  std::ofstream(fs::path(folder) / (number + name.extension().string()), std::ios::binary) << content;
}

}  // namespace

fs::path native(std::string_view utf8) { return fs::path(std::u8string(utf8.begin(), utf8.end())); }

std::string utf8(const fs::path& path) {
  const std::u8string text = path.generic_u8string();
  return {text.begin(), text.end()};
}

TempDir::TempDir() {
  static std::atomic<int> count{0};
  std::random_device random;
  path_ = fs::temp_directory_path() / ("quovel-" + std::to_string(random()) + "-" + std::to_string(count++));
  fs::create_directories(path_);
}

TempDir::~TempDir() {
  std::error_code ignored;  // increment() and not ++, which throws where a path is too long for Windows
  for (fs::recursive_directory_iterator file(path_, ignored), end; file != end; file.increment(ignored))
    if (file->is_regular_file(ignored)) keep(read(utf8(file->path())), file->path());
  fs::remove_all(path_, ignored);
}

std::string TempDir::operator/(std::string_view name) const { return utf8(path_) + "/" + std::string(name); }
std::string TempDir::path() const { return utf8(path_); }

void write(std::string_view path, std::string_view content) {
  fs::create_directories(native(path).parent_path());
  std::ofstream(native(path), std::ios::binary) << content;
  keep(std::string(content), native(path));
}

std::string read(std::string_view path) {
  std::ostringstream content;
  content << std::ifstream(native(path), std::ios::binary).rdbuf();
  return content.str();
}

}  // namespace test
