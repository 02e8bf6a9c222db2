// What a finished tree takes, and what opening takes at most, as the system counts a process of its own.
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <fstream>

#include "documents.h"
#include "files.h"
#include "rows.h"

namespace bench {

namespace {

constexpr std::size_t entries = 1'000'000;

// "VmRSS" (now) or "VmHWM" (the highest so far), in bytes.
double process_memory(const char* name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with(name)) return 1024 * std::stod(line.substr(std::strlen(name) + 1));
  return 0;
}

// Bytes that opening adds to a process that does nothing else.
double memory_of_opening(const std::string& path, const char* name) {
  int ends[2];
  require(pipe(ends) == 0, "a pipe is made");
  const pid_t child = fork();
  if (child == 0) {
    malloc_trim(0);  // no memory of earlier rows is left over
    const Reader reader = new_reader();
    std::ofstream("/proc/self/clear_refs") << "5";  // the highest so far is what there is now
    const double before = process_memory("VmRSS");
    open_dict(reader.get(), path);
    const double added = process_memory(name) - before;
    _exit(write(ends[1], &added, sizeof added) == sizeof added ? 0 : 1);
  }
  double added = 0;
  require(child > 0 && read(ends[0], &added, sizeof added) == sizeof added, "a process opens the document");
  waitpid(child, nullptr, 0);
  close(ends[0]);
  close(ends[1]);
  return added;
}

void add_memory_row(const Shape& shape, const char* what, const char* name, double at_most) {
  add_row({std::string(what) + ", " + shape.name, "bytes per entry", at_most, 3, Unit::Bytes}, [shape, name] {
    const std::string path = path_of("document.json");
    write_file(path, shape.make(entries));
    return Pair{[=] { return memory_of_opening(path, name) / static_cast<double>(entries); }, nullptr};
  });
}

}  // namespace

void add_memory_rows() {
  for (const Shape& shape : shapes) add_memory_row(shape, "memory of the tree", "VmRSS", 320);
  for (const Shape& shape : shapes) add_memory_row(shape, "peak while opening", "VmHWM", 640);
}

}  // namespace bench
