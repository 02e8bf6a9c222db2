#include "support/files.h"

#include <atomic>
#include <fstream>
#include <random>
#include <system_error>

namespace test {

namespace fs = std::filesystem;

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
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string TempDir::operator/(std::string_view name) const { return utf8(path_) + "/" + std::string(name); }
std::string TempDir::path() const { return utf8(path_); }

void write(std::string_view path, std::string_view content) {
  fs::create_directories(native(path).parent_path());
  std::ofstream(native(path), std::ios::binary) << content;
}

std::string read(std::string_view path) {
  std::ostringstream content;
  content << std::ifstream(native(path), std::ios::binary).rdbuf();
  return content.str();
}

}  // namespace test
