#include "tree/arena.h"

#include <algorithm>

namespace quovel {

namespace {
constexpr std::size_t max_chunk_bytes = std::size_t{1} << 22;
}

std::byte* Arena::new_chunk(std::size_t bytes) {
  chunks_.emplace_back();
  chunks_.back().reset(static_cast<std::byte*>(heap_allocate(bytes)));
  if (!chunks_.back()) throw std::bad_alloc();
  return chunks_.back().get();
}

void* Arena::allocate_from_new_chunk(std::size_t bytes) {
  if (bytes > chunk_bytes_ / 2) return new_chunk(bytes);  // the current one stays in use
  const std::size_t size = std::min(chunk_bytes_ * 2, max_chunk_bytes);
  std::byte* const chunk = new_chunk(size);
  chunk_bytes_ = size;
  next_ = chunk + bytes;
  left_ = size - bytes;
  return chunk;
}

}  // namespace quovel
