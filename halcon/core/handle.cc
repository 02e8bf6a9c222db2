#include <atomic>
#include <utility>

#include "HalconCpp.h"
#include "core/handle_data.h"

namespace HalconCpp {

namespace detail {

void retain(HandleData* data) noexcept {
  if (data) data->references_.fetch_add(1, std::memory_order_relaxed);
}

// Destroying a handle may release others: they are linked and destroyed one after the other by the outermost release,
// so that a chain of any length costs no stack.
void release(HandleData* data) noexcept {
  static thread_local HandleData* waiting = nullptr;
  static thread_local bool draining = false;
  if (!data) return;
  const bool is_only = data->references_.load(std::memory_order_acquire) == 1;  // nobody else can reach it
  if (!is_only && data->references_.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  data->next_released_ = std::exchange(waiting, data);
  if (draining) return;
  draining = true;
  while (HandleData* next = waiting) {
    waiting = next->next_released_;
    delete next;
  }
  draining = false;
}

}  // namespace detail

HHandle::HHandle(const HHandle& other) noexcept : data_(other.data_) { detail::retain(data_); }

HHandle& HHandle::operator=(const HHandle& other) noexcept {
  detail::retain(other.data_);
  detail::release(std::exchange(data_, other.data_));
  return *this;
}

HHandle& HHandle::operator=(HHandle&& other) noexcept {
  std::swap(data_, other.data_);
  return *this;
}

HHandle::~HHandle() { detail::release(data_); }

}  // namespace HalconCpp
