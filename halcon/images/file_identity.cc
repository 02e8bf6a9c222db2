#include "images/file_identity.h"

#include <filesystem>

#include "core/file.h"

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#else
#include <sys/stat.h>
#endif

namespace HalconCpp::detail {

#if defined(_WIN32)

std::optional<FileIdentity> file_identity(std::string_view path) {
  constexpr DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const HANDLE file = CreateFileW(native_path(path).c_str(), 0, share, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return std::nullopt;
  BY_HANDLE_FILE_INFORMATION found;
  const bool answered = GetFileInformationByHandle(file, &found);
  CloseHandle(file);
  if (!answered) return std::nullopt;
  return FileIdentity(found.dwVolumeSerialNumber, std::uint64_t{found.nFileIndexHigh} << 32 | found.nFileIndexLow);
}

#else

std::optional<FileIdentity> file_identity(std::string_view path) {
  struct stat found;
  if (stat(native_path(path).c_str(), &found) != 0) return std::nullopt;
  return FileIdentity(found.st_dev, found.st_ino);
}

#endif

}  // namespace HalconCpp::detail
