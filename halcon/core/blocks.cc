#include "core/blocks.h"

#include <cstdlib>
#include <new>

#if defined(__linux__)
#include <malloc.h>
#include <sys/mman.h>
#elif defined(_WIN32)
#include <malloc.h>
#endif

#include "core/memory_limit.h"

namespace HalconCpp::detail {

namespace {

// Smaller blocks are too many to count one by one, and too small to matter.
constexpr std::size_t counted = std::size_t{1} << 20;

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

// At least what was asked for.
std::size_t size_of(void* block) noexcept {
#if defined(__linux__)
  return malloc_usable_size(block);
#elif defined(_WIN32)
  return _msize(block);
#else
  static_cast<void>(block);
  return 0;
#endif
}

}  // namespace

void* allocate_block(std::size_t bytes) {
  void* const block = try_allocate(bytes);
  if (!block) throw std::bad_alloc();
  if (bytes < counted / 2) return block;
  // Charged by the size that free_block credits. New pages cost nothing until they are written.
  if (const std::size_t size = size_of(block); size >= counted) try {
      charge_memory(size);
    } catch (...) {
      std::free(block);
      throw;
    }
  return block;
}

void free_block(void* block) noexcept {
  if (block && counts_memory())
    if (const std::size_t bytes = size_of(block); bytes >= counted) credit_memory(bytes);
  std::free(block);
}

}  // namespace HalconCpp::detail
