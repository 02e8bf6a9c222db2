#include <windows.h>

#include "platform/interrupts.h"

namespace quovel {

namespace {

void (*registered_clean_up)() = nullptr;

// Windows calls this on a thread of its own; FALSE leaves the end of the program to the system's own handler.
BOOL WINAPI handle_interrupt(DWORD) {
  registered_clean_up();
  return FALSE;
}

}  // namespace

void clean_up_when_interrupted(void (*clean_up)()) noexcept {
  registered_clean_up = clean_up;
  SetConsoleCtrlHandler(handle_interrupt, TRUE);
}

void report_file_size_limit_as_error() noexcept {}  // Windows has no such limit

}  // namespace quovel
