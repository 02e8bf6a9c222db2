#include "files.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <map>
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

namespace {

// The files of folders by their names, with and without extension; each folder is listed once.
class Folders {
 public:
  void add_files(const fs::path& named, std::vector<std::string>& to) {
    const auto [folder, is_new] = folders_.try_emplace(named.parent_path());
    if (is_new) list(folder->first, folder->second);
    const auto [first, last] = folder->second.equal_range(key(named.filename()));
    for (auto file = first; file != last; ++file) to.push_back(file->second);
  }

 private:
  using Files = std::multimap<std::string, std::string>;

  static std::string key(const fs::path& name) {
    std::string text = to_utf8(name);
    if constexpr (fs::path::preferred_separator == '\\')  // Windows ignores case
      for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
  }

  static void list(const fs::path& folder, Files& files) {
    std::error_code unknown;
    for (fs::directory_iterator file(folder, unknown), end; file != end; file.increment(unknown)) {
      const fs::path name = file->path().filename();
      for (const fs::path& known_as : {name, name.stem()})
        if (!known_as.empty()) files.emplace(key(known_as), to_utf8(file->path()));
    }
  }

  std::map<fs::path, Files> folders_;
};

}  // namespace

// An entry is looked for in the folder above the list, then beside the list, as it is and with an extension. All that
// could be meant are taken: a file too many is only kept from being replaced.
std::vector<std::string> files_read_with(const std::string& path) {
  std::vector<std::string> files{path};
  std::error_code unknown;
  if (extension_of(path) != "seq" || !fs::is_regular_file(native_path(path), unknown)) return files;
  std::ifstream list(native_path(path), std::ios::binary);
  const fs::path folder = fs::absolute(native_path(path), unknown).parent_path();
  Folders folders;
  for (std::string line; std::getline(list, line);) {
    const std::size_t begin = line.find_first_not_of(" \t\r"), end = line.find_last_not_of(" \t\r");
    if (begin == line.npos) continue;
    line = line.substr(begin, end + 1 - begin);
    std::replace(line.begin(), line.end(), '\\', '/');
    for (const fs::path& from : {folder.parent_path(), folder}) folders.add_files(from / native_path(line), files);
  }
  return files;
}

}  // namespace host
