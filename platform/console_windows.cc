#include <fcntl.h>
#include <io.h>
#include <windows.h>
// Needs windows.h first.
#include <shellapi.h>

#include <cstdio>
#include <cstdlib>

#include "platform/console.h"

namespace quovel {

namespace {

std::string to_utf8(const wchar_t* text) {
  const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  if (size <= 1) return {};
  std::string result(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(), size, nullptr, nullptr);
  result.pop_back();  // the NUL
  return result;
}

bool is_terminal(DWORD stream) noexcept {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(stream), &mode) != 0;
}

void obey_colours(DWORD stream) noexcept {
  DWORD mode = 0;
  const HANDLE handle = GetStdHandle(stream);
  if (GetConsoleMode(handle, &mode)) SetConsoleMode(handle, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

}  // namespace

std::vector<std::string> command_line(int, char**) {
  int count = 0;
  std::vector<std::string> arguments;
  if (wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count)) {
    for (int i = 0; i < count; ++i) arguments.push_back(to_utf8(wide[i]));
    LocalFree(wide);
  }
  return arguments;
}

void prepare_terminal() noexcept {
  static const UINT before = GetConsoleOutputCP();
  std::atexit([] { SetConsoleOutputCP(before); });
  SetConsoleOutputCP(CP_UTF8);
  obey_colours(STD_OUTPUT_HANDLE);
  obey_colours(STD_ERROR_HANDLE);
  _setmode(_fileno(stdout), _O_BINARY);
}

bool output_is_terminal() noexcept { return is_terminal(STD_OUTPUT_HANDLE); }
bool errors_are_on_terminal() noexcept { return is_terminal(STD_ERROR_HANDLE); }

}  // namespace quovel
