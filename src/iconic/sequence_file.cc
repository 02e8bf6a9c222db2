#include "iconic/sequence_file.h"

#include <cstddef>
#include <map>
#include <optional>
#include <utility>

#include "platform/failure.h"
#include "platform/files.h"
#include "platform/path_text.h"
#include "platform/text.h"

namespace quovel {

namespace {

constexpr std::u16string_view extensions[] = {u"png", u"tif", u"tiff", u"jpg", u"jpeg", u"bmp", u"jp2",
                                              u"jxr", u"wdp", u"wmp",  u"hdp", u"pcx",  u"ras", u"pgm",
                                              u"ppm", u"pbm", u"pnm",  u"xwd", u"gif",  u"ima"};

std::string_view trimmed(std::string_view line) {
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  const std::size_t first = line.find_first_not_of(" \t");
  if (first == line.npos) return {};
  return line.substr(first, line.find_last_not_of(" \t") - first + 1);
}

// Whether the candidate names a file, as it is or with one of the extensions; then `candidate` becomes that name.
bool find_file(std::u16string& candidate) {
  if (is_regular_file(candidate)) return true;
  const std::size_t length = candidate.size();
  for (const std::u16string_view extension : image_file_extensions()) {
    (candidate += u'.') += extension;
    if (is_regular_file(candidate)) return true;
    candidate.resize(length);
  }
  return false;
}

// Where the entry's file is; nothing when no folder has it.
std::optional<std::u16string> locate(const std::u16string& entry, std::span<const std::u16string_view> directories) {
  const std::u16string path = from_windows_path(entry);
  for (const std::u16string_view directory : directories) {
    std::u16string candidate = join_path(directory, path);
    if (find_file(candidate)) return candidate;
  }
  return std::nullopt;
}

}  // namespace

std::span<const std::u16string_view> image_file_extensions() { return extensions; }

std::vector<std::u16string> read_sequence_entries(const std::u16string& path) {
  const std::string content = read_shared(path);
  std::vector<std::u16string> entries;
  for (std::string_view rest = content; !rest.empty();) {
    const std::size_t end = rest.find('\n');
    const std::string_view entry = trimmed(rest.substr(0, end));
    if (!entry.empty()) entries.push_back(from_halcon(HalconCpp::HString(std::string(entry).c_str())));
    rest = end == rest.npos ? std::string_view() : rest.substr(end + 1);
  }
  return entries;
}

HalconCpp::HTuple resolve_sequence(const std::u16string& path) {
  const std::u16string_view directory = parent_path(path);
  const std::u16string_view directories[] = {parent_path(directory), directory};
  const std::vector<std::u16string> entries = read_sequence_entries(path);
  if (entries.empty()) throw ReportedError(u"Sequence file is empty or could not be read: " + path);
  HalconCpp::HTuple files;
  // An entry that comes again is not looked for again: each search may ask the file system 42 times.
  std::map<std::u16string_view, HalconCpp::HTuple> found;
  for (const std::u16string& entry : entries) {
    const auto [position, is_new] = found.try_emplace(entry);
    if (is_new) {
      const std::optional<std::u16string> file = locate(entry, directories);
      if (!file) throw ReportedError(u"Sequence entry not found: " + entry);
      position->second = HalconCpp::HTuple(to_halcon(*file));
    }
    files.Append(position->second);
  }
  return files;
}

}  // namespace quovel
