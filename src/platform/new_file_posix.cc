#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "platform/new_file.h"

namespace quovel {

std::FILE* create_file(const std::filesystem::path& path) noexcept {
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (file < 0) return nullptr;
  std::FILE* const stream = ::fdopen(file, "wb");
  if (!stream) ::close(file);
  return stream;
}

bool create_private_folder(const std::filesystem::path& path) noexcept { return ::mkdir(path.c_str(), 0700) == 0; }

}  // namespace quovel
