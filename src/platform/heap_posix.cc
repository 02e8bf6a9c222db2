#include <cstdint>
#include <cstdlib>

#include "platform/heap.h"

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace quovel {

namespace {

// Large blocks use large pages where the system has them: the first access to a page costs more than filling it, and
// there are 512 times fewer large ones.
constexpr std::size_t large_page = std::size_t{1} << 21, large_block = 2 * large_page;

void* allocate_large(std::size_t bytes) noexcept {
  void* block = nullptr;
  if (posix_memalign(&block, large_page, bytes) != 0) return nullptr;
#if defined(__linux__)
  madvise(block, bytes / large_page * large_page, MADV_HUGEPAGE);  // may fail: then the pages are small
#endif
  return block;
}

}  // namespace

void* heap_allocate(std::size_t bytes) noexcept {
  if (bytes > PTRDIFF_MAX) return nullptr;
  if (bytes >= large_block) return allocate_large(bytes);
  return std::malloc(bytes ? bytes : 1);
}

void heap_free(void* block) noexcept { std::free(block); }

}  // namespace quovel
