// The allocator of large arrays.
#ifndef HALCONCPP_CORE_BLOCKS_H
#define HALCONCPP_CORE_BLOCKS_H

#include <cstddef>

namespace HalconCpp::detail {

// Uninitialized bytes, aligned for every plain type; std::bad_alloc when memory is exhausted. A block of many megabytes
// lies on large pages where the system has them. Blocks of 1 MiB and more count towards the ceiling of
// core/memory_limit.h.
void* allocate_block(std::size_t bytes);
void free_block(void* block) noexcept;

struct FreeBlock {
  void operator()(void* block) const noexcept { free_block(block); }
};

}  // namespace HalconCpp::detail

#endif
