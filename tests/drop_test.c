/* drop_test PROGRAM FILE PAGE: starts PROGRAM as the desktop does when FILE is dropped on it, with a console of its
 * own, and waits for the page. */
#include <stdio.h>
#include <windows.h>

#define CHECK(condition) \
  if (!(condition)) return fprintf(stderr, "line %d: %s (%lu)\n", __LINE__, #condition, GetLastError()), 1

static int is_page(const char* path) {
  char begin[32] = "";
  FILE* file = fopen(path, "rb");
  if (!file) return 0;
  fread(begin, 1, sizeof begin - 1, file);
  fclose(file);
  return strncmp(begin, "<!doctype html>", 15) == 0 || strncmp(begin, "<!DOCTYPE html>", 15) == 0;
}

int main(int count, char** arguments) {
  char command[4096], page[MAX_PATH + 256];
  STARTUPINFOA start = {0};
  PROCESS_INFORMATION process;
  int i;
  CHECK(count == 4);
  CHECK(GetTempPathA(MAX_PATH, page));
  strcat(page, arguments[3]);
  DeleteFileA(page);
  sprintf(command, "\"%s\" \"%s\"", arguments[1], arguments[2]);
  start.cb = sizeof start;
  CHECK(CreateProcessA(NULL, command, NULL, NULL, FALSE, CREATE_NEW_CONSOLE, NULL, NULL, &start, &process));
  for (i = 0; i < 300 && !is_page(page); ++i) Sleep(100);
  CHECK(is_page(page));
  /* Where no browser can be started the program fails and waits for a key. */
  if (WaitForSingleObject(process.hProcess, 5000) != WAIT_OBJECT_0) TerminateProcess(process.hProcess, 0);
  return 0;
}
