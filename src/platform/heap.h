// The process heap: the host's buffers, the trees and long texts come from it.
#ifndef QUOVEL_PLATFORM_HEAP_H
#define QUOVEL_PLATFORM_HEAP_H

#include <cstddef>

namespace quovel {

// A block of that many bytes, a distinct one also for 0; null when there is no memory.
void* heap_allocate(std::size_t bytes) noexcept;
// Null is ignored.
void heap_free(void* block) noexcept;

}  // namespace quovel

#endif
