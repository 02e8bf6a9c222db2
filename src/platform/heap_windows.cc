#include <windows.h>

#include <cstdint>

#include "platform/heap.h"

namespace quovel {

void* heap_allocate(std::size_t bytes) noexcept {
  if (bytes > PTRDIFF_MAX) return nullptr;
  return HeapAlloc(GetProcessHeap(), 0, bytes);
}

void heap_free(void* block) noexcept {
  if (block) HeapFree(GetProcessHeap(), 0, block);
}

}  // namespace quovel
