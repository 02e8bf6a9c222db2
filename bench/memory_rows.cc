// What a finished tree takes, and what opening takes at most, as the system counts a process of its own.
#include <cstdio>
#include <cstring>
#include <filesystem>
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

struct Memory {
  double after = 0, peak = 0;
};

// What opening adds to a new process that does nothing else.
Memory memory_of_opening(const std::string& path) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
  std::FILE* answer = popen(("'" + program + "' --memory-of '" + path + "'").c_str(), "r");
  Memory memory;
  require(answer && std::fscanf(answer, "%lf %lf", &memory.after, &memory.peak) == 2 && pclose(answer) == 0,
          "a process opens the document");
  return memory;
}

void add_memory_row(const Shape& shape, const char* what, double Memory::*figure, double at_most) {
  add_row({std::string(what) + ", " + shape.name, "bytes per entry", at_most, 3, Unit::Bytes}, [shape, figure] {
    const std::string path = path_of("document.json");
    write_file(path, shape.make(entries));
    return Pair{[=] { return memory_of_opening(path).*figure / static_cast<double>(entries); }, nullptr};
  });
}

}  // namespace

void tell_memory_of_opening(const std::string& path) {
  const Reader reader = new_reader();
  const double before = process_memory("VmRSS");
  open_dict(reader.get(), path);
  std::printf("%.0f %.0f\n", process_memory("VmRSS") - before, process_memory("VmHWM") - before);
}

void add_memory_rows() {
  for (const Shape& shape : shapes) add_memory_row(shape, "memory of the tree", &Memory::after, 320);
  for (const Shape& shape : shapes) add_memory_row(shape, "peak while opening", &Memory::peak, 640);
}

}  // namespace bench
