// Memory that is freed all at once.
#ifndef QUOVEL_TREE_ARENA_H
#define QUOVEL_TREE_ARENA_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "platform/heap.h"

namespace quovel {

// Allocates small blocks from a few large chunks of the process heap; no block is freed before the arena is. For values
// that need no destructor. Throws std::bad_alloc.
class Arena {
 public:
  // `count` values, not initialized.
  template <class T>
  T* allocate(std::size_t count) {
    static_assert(std::is_trivially_destructible_v<T>);
    if (count > PTRDIFF_MAX / sizeof(T)) throw std::bad_alloc();
    return static_cast<T*>(allocate_bytes(count * sizeof(T), alignof(T)));
  }
  void* allocate_bytes(std::size_t bytes, std::size_t alignment) {
    const std::size_t skip = (alignment - reinterpret_cast<std::uintptr_t>(next_) % alignment) % alignment;
    if (bytes > left_ || skip > left_ - bytes) return allocate_from_new_chunk(bytes);
    std::byte* block = next_ + skip;
    next_ = block + bytes;
    left_ -= skip + bytes;
    return block;
  }
  // Shortens the block that was allocated last: it ended at `end`, and ends at `new_end` now. What is cut off can be
  // allocated again. Does nothing for a block that has a chunk of its own.
  void shrink_last(const void* new_end, const void* end) noexcept {
    if (end != next_) return;
    const auto cut = static_cast<const std::byte*>(end) - static_cast<const std::byte*>(new_end);
    next_ -= cut;
    left_ += static_cast<std::size_t>(cut);
  }

 private:
  void* allocate_from_new_chunk(std::size_t bytes);

  struct Free {
    void operator()(std::byte* chunk) const noexcept { heap_free(chunk); }
  };
  std::byte* new_chunk(std::size_t bytes);

  std::vector<std::unique_ptr<std::byte, Free>> chunks_;
  std::byte* next_ = nullptr;
  std::size_t left_ = 0;
  std::size_t chunk_bytes_ = 2048;
};

}  // namespace quovel

#endif
