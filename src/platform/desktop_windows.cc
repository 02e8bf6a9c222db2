#include <windows.h>
// Needs windows.h first.
#include <shellapi.h>

#include <string>
#include <string_view>

#include "platform/desktop.h"
#include "unicode.h"

namespace quovel {

bool started_from_desktop() noexcept {
  DWORD processes[2];
  return GetConsoleProcessList(processes, 2) == 1;
}

std::string temporary_folder() {
  wchar_t folder[MAX_PATH + 2];
  const DWORD length = GetTempPathW(MAX_PATH + 1, folder);
  return unicode::to_utf8(std::wstring_view(folder, length));
}

bool show_on_desktop(const std::string& path) {
  std::wstring wide(path.size(), L'\0');
  wide.resize(unicode::to_units(path, wide.data()));
  // More than 32 means success, by the contract of this call.
  return reinterpret_cast<INT_PTR>(ShellExecuteW(nullptr, L"open", wide.c_str(), nullptr, nullptr, SW_SHOWNORMAL)) > 32;
}

}  // namespace quovel
