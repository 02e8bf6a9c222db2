#include <fcntl.h>
#include <io.h>
#include <windows.h>
// Needs windows.h first.
#include <shellapi.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "platform/console.h"
#include "unicode.h"

namespace quovel {

namespace {

std::wstring to_utf16(std::string_view text) {
  std::wstring result(text.size(), L'\0');
  result.resize(unicode::to_units(text, result.data()));
  return result;
}

bool is_terminal(DWORD stream) noexcept {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(stream), &mode) != 0;
}

void enable_colors(DWORD stream) noexcept {
  DWORD mode = 0;
  const HANDLE handle = GetStdHandle(stream);
  if (GetConsoleMode(handle, &mode)) SetConsoleMode(handle, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

}  // namespace

std::vector<std::string> command_line(int, char**) {
  int count = 0;
  std::vector<std::string> arguments;
  if (wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count)) {
    for (int i = 0; i < count; ++i) arguments.push_back(unicode::to_utf8(std::wstring_view(wide[i])));
    LocalFree(wide);
  }
  return arguments;
}

std::vector<std::string> expand_wildcards(const std::string& name) {
  const std::size_t last = name.find_last_of("/\\:") + 1;
  if (name.find_first_of("*?", last) == name.npos) return {name};
  std::vector<std::string> names;
  WIN32_FIND_DATAW found;
  const HANDLE search = FindFirstFileW(to_utf16(name).c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return {name};
  do {
    if (found.cFileName[0] != L'.')
      names.push_back(name.substr(0, last) + unicode::to_utf8(std::wstring_view(found.cFileName)));
  } while (FindNextFileW(search, &found));
  FindClose(search);
  if (names.empty()) return {name};
  std::sort(names.begin(), names.end());
  return names;
}

void prepare_terminal() noexcept {
  static const UINT before = GetConsoleOutputCP();
  std::atexit([] { SetConsoleOutputCP(before); });
  SetConsoleOutputCP(CP_UTF8);
  enable_colors(STD_OUTPUT_HANDLE);
  enable_colors(STD_ERROR_HANDLE);
  _setmode(_fileno(stdout), _O_BINARY);
}

bool output_is_terminal() noexcept { return is_terminal(STD_OUTPUT_HANDLE); }
bool errors_are_on_terminal() noexcept { return is_terminal(STD_ERROR_HANDLE); }

}  // namespace quovel
