#include "core/blocks.h"

#include <cstdlib>
#include <new>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace HalconCpp::detail {

namespace {

void* try_allocate(std::size_t bytes) noexcept {
#if defined(__linux__)
  // Touching a new page costs more than filling it, and large pages are 512 times as few.
  constexpr std::size_t large_page = std::size_t{1} << 21;
  if (bytes >= 2 * large_page) {
    void* block = nullptr;
    if (posix_memalign(&block, large_page, bytes) != 0) return nullptr;
    madvise(block, bytes / large_page * large_page, MADV_HUGEPAGE);  // a system without them says no
    return block;
  }
#endif
  return std::malloc(bytes);
}

}  // namespace

void* allocate_block(std::size_t bytes) {
  if (void* block = try_allocate(bytes)) return block;
  throw std::bad_alloc();
}

void free_block(void* block) noexcept { std::free(block); }

}  // namespace HalconCpp::detail
