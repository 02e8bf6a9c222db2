// The files behind the names on the command line.
#ifndef QUOVEL_HOST_FILES_H
#define QUOVEL_HOST_FILES_H

#include <filesystem>
#include <string>
#include <vector>

namespace host {

// Paths are UTF-8 in this program; its own separator is '/'.
std::filesystem::path native_path(const std::string& path);
std::string to_utf8(const std::filesystem::path& path);
// The last component.
std::string file_name(const std::string& path);

struct InputFile {
  std::string path;
  std::string error;  // why it cannot be opened, where that is known before; otherwise empty
};

// The files as they are named, wildcards expanded where no shell does so; for a folder those below it that the library
// reads, by extension, sorted by name. What begins with a dot is left out there. A folder without such files, and one
// that cannot be read, is a file with an error.
std::vector<InputFile> files_behind(const std::vector<std::string>& names);

}  // namespace host

#endif
