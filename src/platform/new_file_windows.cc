#include <direct.h>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include "platform/new_file.h"

namespace quovel {

// _O_CREAT with _O_EXCL is CREATE_NEW.
std::FILE* create_file(const std::filesystem::path& path) noexcept {
  const int file =
      _wopen(path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT, _S_IREAD | _S_IWRITE);
  if (file < 0) return nullptr;
  std::FILE* const stream = _fdopen(file, "wb");
  if (!stream) _close(file);
  return stream;
}

bool create_private_folder(const std::filesystem::path& path) noexcept { return _wmkdir(path.c_str()) == 0; }

}  // namespace quovel
