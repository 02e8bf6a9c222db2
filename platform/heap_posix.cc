#include <cstdint>
#include <cstdlib>

#include "platform/heap.h"

namespace quovel {

void* heap_allocate(std::size_t bytes) noexcept {
  if (bytes > PTRDIFF_MAX) return nullptr;
  return std::malloc(bytes ? bytes : 1);
}

void heap_free(void* block) noexcept { std::free(block); }

}  // namespace quovel
