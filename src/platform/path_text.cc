#include "platform/path_text.h"

#include <algorithm>
#include <cstddef>

namespace quovel {

namespace {

bool begins_with_drive(std::u16string_view path) {
  if (path.size() < 2 || path[1] != u':') return false;
  const char16_t letter = path[0] | 0x20;
  return letter >= u'a' && letter <= u'z';
}

// Two separators and "?" or ".", when one separator follows.
bool begins_with_device(std::u16string_view path) {
  if (path.size() < 4 || !is_separator(path[0]) || !is_separator(path[1]) || !is_separator(path[3])) return false;
  if (path.size() > 4 && is_separator(path[4])) return false;
  return path[2] == u'?' || path[2] == u'.';
}

std::size_t root_name_length(std::u16string_view path) {
  if (begins_with_drive(path)) return 2;
  if (begins_with_device(path)) return 3;
  const bool is_network = path.size() >= 3 && is_separator(path[0]) && is_separator(path[1]) && !is_separator(path[2]);
  if (!is_network) return 0;
  return static_cast<std::size_t>(std::find_if(path.begin() + 3, path.end(), is_separator) - path.begin());
}

bool needs_separator(std::u16string_view directory) {
  const bool is_bare_drive = directory.size() == 2 && begins_with_drive(directory);
  return !directory.empty() && !is_bare_drive && !is_separator(directory.back());
}

}  // namespace

std::u16string file_extension(std::u16string_view path) {
  const std::size_t dot = path.rfind(u'.');
  if (dot == path.npos) return {};
  std::u16string extension(path.substr(dot + 1));
  for (char16_t& c : extension)
    if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c + (u'a' - u'A'));
  return extension;
}

std::u16string_view file_stem(std::u16string_view path) {
  const std::size_t separator = path.find_last_of(u"/\\");
  const std::u16string_view name = separator == path.npos ? path : path.substr(separator + 1);
  return name.substr(0, name.rfind(u'.'));
}

std::u16string_view parent_path(std::u16string_view path) {
  std::size_t root = root_name_length(path);
  while (root < path.size() && is_separator(path[root])) ++root;
  std::size_t end = path.size();
  while (end > root && !is_separator(path[end - 1])) --end;
  while (end > root && is_separator(path[end - 1])) --end;
  return path.substr(0, end);
}

std::u16string join_path(std::u16string_view directory, std::u16string_view entry) {
  const std::u16string_view directory_root = directory.substr(0, root_name_length(directory));
  const std::u16string_view root = entry.substr(0, root_name_length(entry));
  const std::u16string_view rest = entry.substr(root.size());
  const bool rest_is_rooted = !rest.empty() && is_separator(rest.front());
  if (!root.empty() && (rest_is_rooted || root != directory_root)) return std::u16string(entry);
  std::u16string joined(rest_is_rooted ? directory_root : directory);
  if (!rest_is_rooted && needs_separator(directory)) joined += separator();
  return joined += rest;
}

}  // namespace quovel
