/* A host in C that knows only the file name of the library: loads it, uses it, unloads it, three times over. A
 * 2nd library that is named is loaded before, and stays.
 */
#include <stdio.h>
#include <string.h>

#include "quovel_adapter_2411/quovel_adapter.h"

#ifdef _WIN32
#include <windows.h>
typedef HMODULE library;
/* Of a whole path, the libraries beside it are found too. */
static library load(const char* name) {
  return LoadLibraryExA(name, NULL, strchr(name, ':') ? LOAD_WITH_ALTERED_SEARCH_PATH : 0);
}
static library load_for_all(const char* name) { return load(name); }
static int unload(library loaded) { return FreeLibrary(loaded) != 0; }
static void find(library loaded, const char* name, void* function) {
  FARPROC found = GetProcAddress(loaded, name);
  memcpy(function, &found, sizeof found);
}
#else
#include <dlfcn.h>
typedef void* library;
static library load(const char* name) { return dlopen(name, RTLD_NOW | RTLD_LOCAL); }
static library load_for_all(const char* name) { return dlopen(name, RTLD_NOW | RTLD_GLOBAL); }
static int unload(library loaded) { return dlclose(loaded) == 0; }
static void find(library loaded, const char* name, void* function) {
  void* found = dlsym(loaded, name);
  memcpy(function, &found, sizeof found);
}
#endif

#define CHECK(condition) \
  if (!(condition)) return fprintf(stderr, "line %d: %s\n", __LINE__, #condition), 1

static int use(const char* name) {
  static const qv_char missing[] = {'n', 'o', '.', 'p', 'n', 'g', 0};
  qv_reader* (*create)(void);
  void (*destroy)(qv_reader*);
  const qv_node* (*parse)(qv_reader*, const qv_char*);
  const qv_char* (*last_error)(const qv_reader*);
  library loaded = load(name);
  qv_reader* reader;
  CHECK(loaded);
  find(loaded, "qv_reader_create", &create);
  find(loaded, "qv_reader_destroy", &destroy);
  find(loaded, "qv_reader_parse_object_file", &parse);
  find(loaded, "qv_reader_last_error", &last_error);
  CHECK(create && destroy && parse && last_error);
  reader = create();
  CHECK(reader && last_error(reader)[0] == 0);
  CHECK(!parse(reader, missing) && last_error(reader)[0] != 0); /* an exception has been thrown and caught inside */
  destroy(reader);
  CHECK(unload(loaded));
  return 0;
}

int main(int count, char** arguments) {
  int round, failed = count < 2 || (count > 2 && !load_for_all(arguments[2]));
  for (round = 0; round < 3 && !failed; ++round) failed = use(arguments[1]);
  return failed;
}
