// load_time LIBRARY: prints the processor seconds that loading the library takes in a process that has loaded nothing
// like it.
#include <dlfcn.h>

#include <cstdio>
#include <ctime>

static double now() {
  timespec time;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

int main(int count, char** arguments) {
  if (count != 2) return 2;
  const double start = now();
  void* const library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  const double time = now() - start;
  if (!library) std::fprintf(stderr, "%s\n", dlerror());
  std::printf("%.9f\n", time);
  return library ? 0 : 1;
}
