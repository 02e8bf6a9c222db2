#include <windows.h>

#include "platform/files.h"

namespace quovel {

namespace {

class OpenFile {
 public:
  OpenFile(const std::u16string& path, DWORD access, DWORD flags)
      : file_(CreateFileW(reinterpret_cast<const wchar_t*>(path.c_str()), access,
                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, flags,
                          nullptr)) {}
  ~OpenFile() {
    if (file_ != INVALID_HANDLE_VALUE) CloseHandle(file_);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  // Opening follows links: these are the attributes of their target.
  bool is_regular() const noexcept {
    BY_HANDLE_FILE_INFORMATION information;
    return file_ != INVALID_HANDLE_VALUE && GetFileType(file_) == FILE_TYPE_DISK &&
           GetFileInformationByHandle(file_, &information) &&
           !(information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY);
  }
  DWORD read(char* to, DWORD bytes) const noexcept {
    DWORD count = 0;
    return ReadFile(file_, to, bytes, &count, nullptr) ? count : 0;
  }

 private:
  HANDLE file_;
};

}  // namespace

bool is_regular_file(const std::u16string& path) {
  return OpenFile(path, FILE_READ_ATTRIBUTES, FILE_FLAG_BACKUP_SEMANTICS).is_regular();
}

std::string read_shared(const std::u16string& path) {
  const OpenFile file(path, GENERIC_READ, FILE_ATTRIBUTE_NORMAL);
  std::string content;
  if (!file.is_regular()) return content;
  char block[16384];
  while (const DWORD count = file.read(block, sizeof block))
    if (content.append(block, count).size() > max_shared_bytes) return {};
  return content;
}

}  // namespace quovel
