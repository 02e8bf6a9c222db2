#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>

#include "platform/files.h"
#include "unicode.h"

namespace quovel {

namespace {

std::string native(const std::u16string& path) { return unicode::to_utf8(std::u16string_view(path)); }

class OpenFile {
 public:
  // Does not wait for the other end of a pipe.
  explicit OpenFile(const std::string& name) : file_(::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
  ~OpenFile() {
    if (file_ >= 0) ::close(file_);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  bool is_regular() const {
    struct stat status;
    return file_ >= 0 && ::fstat(file_, &status) == 0 && S_ISREG(status.st_mode);
  }
  ssize_t read(char* to, std::size_t bytes) const {
    ssize_t count;
    do count = ::read(file_, to, bytes);
    while (count < 0 && errno == EINTR);
    return count;
  }

 private:
  int file_;
};

}  // namespace

bool is_regular_file(const std::u16string& path) {
  struct stat status;
  return ::stat(native(path).c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

std::string read_shared(const std::u16string& path) {
  const OpenFile file(native(path));
  std::string content;
  if (!file.is_regular()) return content;
  char block[16384];
  for (ssize_t count; (count = file.read(block, sizeof block)) > 0;)
    if (content.append(block, static_cast<std::size_t>(count)).size() > max_shared_bytes) return {};
  return content;
}

}  // namespace quovel
