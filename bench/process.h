// Processes and memory: what makes both sides of a row start from the same state.
#ifndef QUOVEL_BENCH_PROCESS_H
#define QUOVEL_BENCH_PROCESS_H

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace bench {

// What a body returned, and how much memory the process took beyond what it had before: at the end of the body and at
// most, in bytes of resident pages.
struct Measured {
  double value = 0, kept = 0, peak = 0;
};

// Runs the body in a process forked for it, whose heap holds no free pages.
Measured in_new_process(const std::function<double()>& body);
// The same for a body that fills the result itself, of `count` plain values.
std::vector<double> in_new_process(const std::function<std::vector<double>()>& body, std::size_t count);

// From here on the heap of this process returns no page to the system.
void keep_used_memory();
// Returns the free pages of the heap to the system.
void drop_free_memory();

// The C library places its heap on large pages when the process starts with a setting of the environment; the library
// asks for such pages by itself. Restarts the program with that setting, unless `large` is false: then this process and
// its children get small pages only.
void choose_pages(bool large, char** arguments);

// A block as the library makes those that it returns to hosts: on large pages where the process has them.
struct FreeBlock {
  void operator()(void* block) const noexcept;
};
using Block = std::unique_ptr<char, FreeBlock>;
Block new_block(std::size_t bytes);

}  // namespace bench

#endif
