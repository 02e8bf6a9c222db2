// The heap that the host's buffers come from.
#ifndef QUOVEL_PLATFORM_HEAP_H
#define QUOVEL_PLATFORM_HEAP_H

#include <cstddef>
#include <cstdint>
#include <new>

namespace quovel {

// A block of that many bytes, a distinct one also for 0; null when there is none to be had.
void* heap_allocate(std::size_t bytes) noexcept;
// Null is ignored.
void heap_free(void* block) noexcept;

// For containers that take much of it.
template <class T>
struct HeapAllocator {
  using value_type = T;
  HeapAllocator() noexcept = default;
  template <class U>
  HeapAllocator(const HeapAllocator<U>&) noexcept {}
  T* allocate(std::size_t count) {
    void* block = count > PTRDIFF_MAX / sizeof(T) ? nullptr : heap_allocate(count * sizeof(T));
    if (!block) throw std::bad_alloc();
    return static_cast<T*>(block);
  }
  void deallocate(T* block, std::size_t) noexcept { heap_free(block); }
  bool operator==(const HeapAllocator&) const noexcept = default;
};

}  // namespace quovel

#endif
