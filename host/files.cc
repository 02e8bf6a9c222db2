#include "files.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <random>
#include <system_error>

#include "session.h"

namespace host {

namespace {

namespace fs = std::filesystem;

fs::path from_utf8(const std::string& path) { return {std::u8string(path.begin(), path.end())}; }
std::string to_utf8(const fs::path& path) {
  const std::u8string text = path.generic_u8string();
  return {text.begin(), text.end()};
}

std::vector<std::string> files_below(const std::string& folder) {
  std::vector<std::string> files;
  std::error_code error;
  fs::recursive_directory_iterator entry(from_utf8(folder), fs::directory_options::skip_permission_denied, error), end;
  for (; !error && entry != end; entry.increment(error)) {
    const bool hidden = to_utf8(entry->path().filename()).starts_with('.');
    if (hidden) entry.disable_recursion_pending();
    std::error_code unknown;
    const std::string path = to_utf8(entry->path());
    if (!hidden && has_known_extension(path) && entry->is_regular_file(unknown)) files.push_back(path);
  }
  if (error) throw Failure("'" + folder + "' could not be read: " + error.message());
  if (files.empty()) throw Failure("'" + folder + "' is a folder without files of a known extension");
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

std::string file_name(const std::string& path) { return path.substr(path.find_last_of("/\\") + 1); }

std::vector<std::string> files_behind(const std::vector<std::string>& names) {
  std::vector<std::string> files;
  for (const std::string& name : names) {
    std::error_code unknown;
    if (!fs::is_directory(from_utf8(name), unknown)) {
      files.push_back(name);
    } else {
      const std::vector<std::string> below = files_below(name);
      files.insert(files.end(), below.begin(), below.end());
    }
  }
  return files;
}

void write_file(const std::string& path, const std::string& content) {
  std::error_code error;
  const fs::path target = from_utf8(path);
  // A link or a device stays what it is.
  const fs::file_status before = fs::symlink_status(target, error);
  const bool direct = fs::exists(before) && !fs::is_regular_file(before);
  const fs::path written = direct ? target : target.parent_path() / (std::to_string(std::random_device()()) + ".part");
  errno = 0;
  std::ofstream file(written, std::ios::binary);
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
  file.close();
  error = {file ? 0 : errno, std::generic_category()};
  if (file && !direct) fs::rename(written, target, error);
  if (file && !error) return;
  const std::string reason = error.message();
  if (!direct) fs::remove(written, error);
  throw Failure("'" + path + "' could not be written: " + reason);
}

}  // namespace host
