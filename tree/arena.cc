#include "tree/arena.h"

#include <algorithm>

namespace quovel {

namespace {
constexpr std::size_t largest_chunk = 1 << 20;
}

void* Arena::allocate_from_new_chunk(std::size_t bytes) {
  if (bytes > chunk_bytes_ / 4) {  // a chunk of its own; the current one stays in use
    chunks_.push_back(std::make_unique_for_overwrite<std::byte[]>(bytes));
    return chunks_.back().get();
  }
  chunk_bytes_ = std::min(chunk_bytes_ * 2, largest_chunk);
  chunks_.push_back(std::make_unique_for_overwrite<std::byte[]>(chunk_bytes_));
  next_ = chunks_.back().get() + bytes;
  left_ = chunk_bytes_ - bytes;
  return chunks_.back().get();
}

}  // namespace quovel
