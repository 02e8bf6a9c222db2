// Blocks that a host receives and frees through the library: from the process heap, of exact size.
#ifndef QUOVEL_EXTRACT_HOST_BUFFER_H
#define QUOVEL_EXTRACT_HOST_BUFFER_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/heap.h"

namespace quovel {

// `count` values. The host owns them once they are released to it; otherwise this object frees them.
template <class T>
class HostBuffer {
 public:
  HostBuffer() noexcept = default;
  // Check with `allocated` before use: there may be no memory. A buffer of 0 values has a block too.
  explicit HostBuffer(std::size_t count) noexcept
      : block_(static_cast<T*>(heap_allocate(count > SIZE_MAX / sizeof(T) ? SIZE_MAX : count * sizeof(T)))),
        count_(count) {}

  bool allocated() const noexcept { return block_ != nullptr; }
  T* data() noexcept { return block_.get(); }
  T& operator[](std::size_t i) noexcept { return block_.get()[i]; }
  std::size_t size() const noexcept { return count_; }
  // The host owns the block from here on.
  T* release() noexcept { return block_.release(); }

 private:
  struct Free {
    void operator()(T* block) const noexcept { heap_free(block); }
  };
  std::unique_ptr<T, Free> block_;
  std::size_t count_ = 0;
};

}  // namespace quovel

#endif
