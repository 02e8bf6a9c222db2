// Folders and files for tests.
#ifndef QUOVEL_TESTS_SUPPORT_FILES_H
#define QUOVEL_TESTS_SUPPORT_FILES_H

#include <filesystem>
#include <string>
#include <string_view>

namespace test {

// A new folder, deleted with the object.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  // The path of a name in it, as UTF-8.
  std::string operator/(std::string_view name) const;
  std::string path() const;

 private:
  std::filesystem::path path_;
};

std::filesystem::path native(std::string_view utf8);
std::string utf8(const std::filesystem::path& path);
void write(std::string_view path, std::string_view content);
std::string read(std::string_view path);

}  // namespace test

#endif
