// A text that may have many millions of units, in a block of the process heap.
#ifndef QUOVEL_CONTENT_LONG_TEXT_H
#define QUOVEL_CONTENT_LONG_TEXT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "platform/heap.h"

namespace quovel {

// Grows at its end, where callers write directly: a std::u16string would clear the memory first. Throws std::bad_alloc.
class LongText {
 public:
  LongText() noexcept = default;
  explicit LongText(std::u16string_view text) { append(text); }
  LongText(LongText&& other) noexcept { *this = std::move(other); }
  LongText& operator=(LongText&& other) noexcept {
    block_ = std::move(other.block_);
    end_ = std::exchange(other.end_, nullptr);
    limit_ = std::exchange(other.limit_, nullptr);
    return *this;
  }

  // The end of the text, with room for that many units. The caller writes there and calls `end_at` with the new end.
  char16_t* room(std::size_t units) {
    if (static_cast<std::size_t>(limit_ - end_) < units) grow(units);
    return end_;
  }
  void end_at(char16_t* end) noexcept { end_ = end; }
  void append(std::u16string_view text) { end_at(std::copy(text.begin(), text.end(), room(text.size()))); }

  std::size_t size() const noexcept { return static_cast<std::size_t>(end_ - block_.get()); }
  const char16_t* data() const noexcept { return block_ ? block_.get() : u""; }

 private:
  void grow(std::size_t units) {
    const std::size_t size = this->size(), capacity = std::max(2 * size, size + units);
    if (units > PTRDIFF_MAX / sizeof(char16_t) - 2 * size) throw std::bad_alloc();
    Block block(static_cast<char16_t*>(heap_allocate(capacity * sizeof(char16_t))));
    if (!block) throw std::bad_alloc();
    if (size) std::memcpy(block.get(), block_.get(), size * sizeof(char16_t));
    block_ = std::move(block);
    end_ = block_.get() + size;
    limit_ = block_.get() + capacity;
  }

  struct Free {
    void operator()(char16_t* block) const noexcept { heap_free(block); }
  };
  using Block = std::unique_ptr<char16_t, Free>;
  Block block_;
  char16_t* end_ = nullptr;
  char16_t* limit_ = nullptr;
};

}  // namespace quovel

#endif
