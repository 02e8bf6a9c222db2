// The files that the names on the command line stand for.
#ifndef QUOVEL_HOST_FILES_H
#define QUOVEL_HOST_FILES_H

#include <filesystem>
#include <string>
#include <vector>

namespace host {

// Paths are UTF-8 in this program. The text of a path has '/' as separator.
std::filesystem::path native_path(const std::string& path);
std::string to_utf8(const std::filesystem::path& path);
// The last component.
std::string file_name(const std::string& path);

struct InputFile {
  std::string path;
  std::string error;  // why it cannot be opened, if that is known already; otherwise empty
};

// Each name gives a file, or several where the shell does not expand wildcards. A folder gives all files below it whose
// extension the library reads, sorted by path, without those that begin with a dot. A folder without such files, or one
// that cannot be read, gives an entry with an error.
std::vector<InputFile> files_behind(const std::vector<std::string>& names);

// All files that opening the file reads: itself and, if it is a sequence list, the images that it names.
std::vector<std::string> files_read_with(const std::string& path);

}  // namespace host

#endif
