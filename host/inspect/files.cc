#include "files.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include "platform/console.h"
#include "session.h"

namespace host {

namespace fs = std::filesystem;

namespace {

// Adds the files in a folder to `files` and its subfolders, but no links to folders, to `folders`.
void read_folder(const std::string& folder, std::vector<InputFile>& files, std::vector<std::string>& folders) {
  std::error_code error;
  fs::directory_iterator entry(native_path(folder), error), end;
  for (; !error && entry != end; entry.increment(error)) {
    const std::string path = to_utf8(entry->path());
    if (file_name(path).starts_with('.')) continue;
    std::error_code unknown;
    if (entry->is_directory(unknown)) {
      if (!entry->is_symlink(unknown)) folders.push_back(path);
    } else if (has_known_extension(path)) {
      const bool is_file = entry->is_regular_file(unknown);
      if (is_file || unknown) files.push_back({path, {}});  // opening a broken link reports its reason
    }
  }
  if (error) files.push_back({folder, "'" + folder + "' could not be read: " + error.message()});
}

std::vector<InputFile> files_below(const std::string& folder) {
  std::vector<InputFile> files;
  std::vector<std::string> folders{folder};
  while (!folders.empty()) {
    const std::string next = std::move(folders.back());
    folders.pop_back();
    read_folder(next, files, folders);
  }
  if (files.empty()) return {{folder, "'" + folder + "' is a folder without files of a known extension"}};
  std::sort(files.begin(), files.end(), [](const InputFile& a, const InputFile& b) { return a.path < b.path; });
  return files;
}

}  // namespace

fs::path native_path(const std::string& path) { return {std::u8string(path.begin(), path.end())}; }
std::string to_utf8(const fs::path& path) {
  const std::u8string text = path.generic_u8string();
  return {text.begin(), text.end()};
}
std::string file_name(const std::string& path) { return to_utf8(native_path(path).filename()); }

std::vector<InputFile> files_behind(const std::vector<std::string>& names) {
  std::vector<InputFile> files;
  for (const std::string& given : names) {
    for (const std::string& name : quovel::expand_wildcards(given)) {
      std::error_code unknown;
      const bool is_folder = fs::is_directory(native_path(name), unknown);
      const std::vector<InputFile> found = is_folder ? files_below(name) : std::vector<InputFile>{{name, {}}};
      files.insert(files.end(), found.begin(), found.end());
    }
  }
  return files;
}

std::vector<std::string> files_read_with(const std::string& path) {
  std::vector<std::string> files{path};
  std::error_code unknown;
  if (extension_of(path) != "seq" || !fs::is_regular_file(native_path(path), unknown)) return files;
  std::ifstream list(native_path(path), std::ios::binary);
  const fs::path folder = native_path(path).parent_path();
  for (std::string line; std::getline(list, line);) {
    const std::size_t begin = line.find_first_not_of(" \t\r"), end = line.find_last_not_of(" \t\r");
    if (begin == line.npos) continue;
    line = line.substr(begin, end + 1 - begin);
    std::replace(line.begin(), line.end(), '\\', '/');
    files.push_back(to_utf8(folder / native_path(line)));
  }
  return files;
}

}  // namespace host
