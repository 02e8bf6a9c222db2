// Where large arrays come from.
#ifndef HALCONCPP_CORE_BLOCKS_H
#define HALCONCPP_CORE_BLOCKS_H

#include <cstddef>

namespace HalconCpp::detail {

// Bytes that hold nothing yet, aligned for every plain type; std::bad_alloc when there are none. A block of many
// megabytes stands on large pages where the system has them.
void* allocate_block(std::size_t bytes);
void free_block(void* block) noexcept;

struct FreeBlock {
  void operator()(void* block) const noexcept { free_block(block); }
};

}  // namespace HalconCpp::detail

#endif
