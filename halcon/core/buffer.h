// A growable block of plain values that is never zeroed first.
#ifndef HALCONCPP_CORE_BUFFER_H
#define HALCONCPP_CORE_BUFFER_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <type_traits>
#include <utility>

#include "core/blocks.h"

namespace HalconCpp::detail {

template <class T>
class Buffer {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  Buffer() noexcept = default;
  // `size` values that hold nothing yet. A size that no memory could hold is std::bad_alloc.
  explicit Buffer(std::size_t size) : values_(make(size)), size_(size), capacity_(size) {}
  Buffer(Buffer&& other) noexcept
      : values_(std::move(other.values_)),
        size_(std::exchange(other.size_, 0)),
        capacity_(std::exchange(other.capacity_, 0)) {}
  Buffer& operator=(Buffer&& other) noexcept {
    values_ = std::move(other.values_);
    size_ = std::exchange(other.size_, 0);
    capacity_ = std::exchange(other.capacity_, 0);
    return *this;
  }

  T* data() noexcept { return values_.get(); }
  const T* data() const noexcept { return values_.get(); }
  std::size_t size() const noexcept { return size_; }
  bool empty() const noexcept { return size_ == 0; }
  T* begin() noexcept { return data(); }
  T* end() noexcept { return data() + size_; }
  const T* begin() const noexcept { return data(); }
  const T* end() const noexcept { return data() + size_; }
  T& operator[](std::size_t i) noexcept { return data()[i]; }
  const T& operator[](std::size_t i) const noexcept { return data()[i]; }
  operator std::span<const T>() const noexcept { return {data(), size_}; }

  void push_back(T value) {
    if (size_ == capacity_) grow(size_ + 1);
    data()[size_++] = value;
  }
  void append(const T* values, std::size_t count) {
    if (count > capacity_ - size_) grow(size_ + count);
    if (count) std::memcpy(values_.get() + size_, values, count * sizeof(T));
    size_ += count;
  }
  void reserve(std::size_t capacity) {
    if (capacity > capacity_) move_to(capacity);
  }
  // The block, which the caller frees with `free_block`.
  T* release() noexcept {
    size_ = capacity_ = 0;
    return values_.release();
  }

 private:
  using Block = std::unique_ptr<T, FreeBlock>;

  static Block make(std::size_t size) {
    if (size > PTRDIFF_MAX / sizeof(T)) throw std::bad_alloc();
    return Block(size ? static_cast<T*>(allocate_block(size * sizeof(T))) : nullptr);
  }
  void grow(std::size_t least) { move_to(least > capacity_ * 2 ? least : capacity_ * 2); }
  void move_to(std::size_t capacity) {
    auto moved = make(capacity);
    if (size_) std::memcpy(moved.get(), values_.get(), size_ * sizeof(T));
    values_ = std::move(moved);
    capacity_ = capacity;
  }

  Block values_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace HalconCpp::detail

#endif
