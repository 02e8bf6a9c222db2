#include "process.h"

#include <malloc.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "files.h"

namespace bench {

namespace {

constexpr const char* setting = "GLIBC_TUNABLES";
constexpr const char* large_pages = "glibc.malloc.hugetlb=1";

// "VmRSS" (now) or "VmHWM" (the highest since it was reset), in bytes.
double process_memory(const char* name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with(name)) return 1024 * std::stod(line.substr(std::strlen(name) + 1));
  return 0;
}

void reset_peak() { std::ofstream("/proc/self/clear_refs") << "5"; }

void write_all(int pipe, const std::vector<double>& values) {
  const std::size_t bytes = values.size() * sizeof(double);
  require(write(pipe, values.data(), bytes) == static_cast<ssize_t>(bytes), "a process reports its figures");
}

std::vector<double> read_all(int pipe, std::size_t count) {
  std::vector<double> values(count);
  auto* at = reinterpret_cast<char*>(values.data());
  for (std::size_t left = count * sizeof(double); left > 0;) {
    const ssize_t got = read(pipe, at, left);
    require(got > 0, "a process finishes its work");
    at += got;
    left -= static_cast<std::size_t>(got);
  }
  return values;
}

}  // namespace

std::vector<double> in_new_process(const std::function<std::vector<double>()>& body, std::size_t count) {
  int ends[2];
  require(pipe(ends) == 0, "a pipe is made");
  drop_free_memory();
  const pid_t child = fork();
  require(child >= 0, "a process is forked");
  if (child == 0) {
    write_all(ends[1], body());
    _exit(0);  // nothing is destroyed: the files belong to the parent
  }
  close(ends[1]);
  std::vector<double> values = read_all(ends[0], count);
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return values;
}

Measured in_new_process(const std::function<double()>& body) {
  const auto measure = [&]() -> std::vector<double> {
    reset_peak();
    const double before = process_memory("VmRSS");
    const double value = body();
    return {value, process_memory("VmRSS") - before, process_memory("VmHWM") - before};
  };
  const auto figures = in_new_process(measure, 3);
  return {figures[0], figures[1], figures[2]};
}

void keep_used_memory() {
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, INT_MAX);
}

void drop_free_memory() { malloc_trim(0); }

void choose_pages(bool large, char** arguments) {
  if (!large) {
    require(prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0) == 0, "large pages are switched off");
    return;
  }
  if (std::getenv(setting)) return;
  setenv(setting, large_pages, 1);
  execv("/proc/self/exe", arguments);
  require(false, "the program is started again");
}

void FreeBlock::operator()(void* block) const noexcept { std::free(block); }

Block new_block(std::size_t bytes) {
  constexpr std::size_t large_page = std::size_t{1} << 21;
  void* block = nullptr;
  if (bytes < 2 * large_page) {
    block = std::malloc(bytes);
  } else if (posix_memalign(&block, large_page, bytes) == 0) {
    madvise(block, bytes / large_page * large_page, MADV_HUGEPAGE);
  }
  require(block, "there is memory");
  return Block(static_cast<char*>(block));
}

}  // namespace bench
