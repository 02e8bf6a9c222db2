// A file that the program writes. It gets its whole new content in one step or stays unchanged.
#ifndef QUOVEL_HOST_TARGET_FILE_H
#define QUOVEL_HOST_TARGET_FILE_H

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// Which existing files may be replaced. An input never may.
struct Replacing {
  bool any = false;             // --force
  std::string_view own_prefix;  // not empty: files that begin with it, because this program wrote them
};

class TargetFile {
 public:
  // Throws Failure if the path names a folder or an existing file that must not be replaced: an input (the same file,
  // whatever its name), one that `replacing` does not allow, or a write-protected one. A link is followed and stays a
  // link; one that leads to no file is rejected. A device or a pipe is written directly.
  TargetFile(const std::string& path, const std::vector<std::string>& inputs, const Replacing& replacing);

  void write(std::string_view content) const;

  // Calls save(path), which must create a file at that path: in a new private folder beside the target, with the
  // target's extension. Then moves that file to the target. The folder is always removed, also when the program is
  // interrupted.
  void save(const std::function<void(const std::string& path)>& save) const;

 private:
  [[noreturn]] void fail(const std::string& reason) const;
  void check_existing(const std::vector<std::string>& inputs, const Replacing& replacing) const;
  void publish(const std::filesystem::path& complete) const;

  std::string name_;              // as the user gave it, for messages
  std::filesystem::path target_;  // with links followed
  bool exists_ = false;
  bool is_device_ = false;
};

// Calls use(path) with the path of no file yet, whose name ends in `extension`, in a new private folder for temporary
// files. The folder is always removed afterwards, as that of TargetFile::save. Throws Failure.
void with_temporary_file(const std::string& extension, const std::function<void(const std::string& path)>& use);

// Makes interrupts remove unfinished files; call before other threads are made.
void remove_unfinished_files_when_interrupted();

}  // namespace host

#endif
