// A file that the user asked for. It gets its whole new content in one step or stays as it is.
#ifndef QUOVEL_HOST_TARGET_FILE_H
#define QUOVEL_HOST_TARGET_FILE_H

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// Which existing files may be replaced. An input never is.
struct Replacing {
  bool any = false;             // --force
  std::string_view own_prefix;  // not empty: files that begin with it, because this program wrote them
};

class TargetFile {
 public:
  // Throws Failure when a file of that name is there and must stay: an input (the same file, whatever its name), one
  // that `replacing` does not allow, a write-protected one, a folder. A link stays a link, and what it leads to is the
  // target. A device or a pipe is no file to be replaced: it is written directly.
  TargetFile(const std::string& path, const std::vector<std::string>& inputs, const Replacing& replacing);

  void write(std::string_view content) const;

  // Calls save(path), which makes a new file of that name. The name has the target's extension; it lies in a new folder
  // beside the target, and the file is moved from there once it is complete. The folder is removed in any case, also
  // when the program is interrupted.
  void save(const std::function<void(const std::string& path)>& save) const;

 private:
  [[noreturn]] void fail(const std::string& reason) const;
  void check_existing(const std::vector<std::string>& inputs, const Replacing& replacing) const;
  void publish(const std::filesystem::path& complete) const;

  std::string name_;              // as the user gave it, for messages
  std::filesystem::path target_;  // behind links
  bool exists_ = false;
  bool is_device_ = false;
};

// Makes interrupts remove unfinished files; call before other threads are made.
void remove_unfinished_files_when_interrupted();

}  // namespace host

#endif
