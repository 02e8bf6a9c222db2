#include "core/string_blocks.h"

#include <algorithm>
#include <atomic>
#include <new>

namespace HalconCpp::detail {

// The texts follow it in the same allocation, each after its distance from the block.
struct StringBlock {
  // The number of texts that are in use; while texts are added, plus `open`, so that the block stays.
  static constexpr std::uint32_t open = std::uint32_t{1} << 31;
  std::atomic<std::uint32_t> texts{open};
};

namespace {

struct Distance {
  alignas(StringData) std::uint32_t bytes;
};

constexpr std::size_t first_offset = sizeof(Distance) > sizeof(StringBlock) ? sizeof(Distance) : sizeof(StringBlock);
constexpr std::size_t max_text = 255;
constexpr std::size_t max_block = std::size_t{1} << 15;

std::size_t slot_bytes(std::size_t length) noexcept {
  const std::size_t bytes = sizeof(Distance) + sizeof(StringData) + length + 1;
  return (bytes + alignof(Distance) - 1) / alignof(Distance) * alignof(Distance);
}

void destroy(StringBlock* block) noexcept { ::operator delete(static_cast<void*>(block)); }

}  // namespace

const StringData* StringBlocks::make(std::string_view utf8) {
  if (utf8.empty() || utf8.size() > max_text) return new_valid_string(utf8);
  const std::size_t bytes = slot_bytes(utf8.size());
  if (!block_ || block_bytes_ - used_ < bytes) open();
  auto* slot = reinterpret_cast<std::byte*>(block_) + used_;
  new (slot) Distance{static_cast<std::uint32_t>(used_)};
  used_ += bytes;
  ++texts_;
  return write_string(slot + sizeof(Distance), utf8, StringData::in_block);
}

void StringBlocks::open() {
  close();
  block_bytes_ = std::min(block_bytes_ * 2, max_block);
  block_ = new (::operator new(block_bytes_)) StringBlock;
  used_ = first_offset;
  texts_ = 0;
}

void StringBlocks::close() noexcept {
  if (!block_) return;
  const std::uint32_t others = StringBlock::open - texts_;
  if (block_->texts.fetch_sub(others, std::memory_order_acq_rel) == others) destroy(block_);
  block_ = nullptr;
}

void leave_block(const StringData* data) noexcept {
  auto* slot = reinterpret_cast<std::byte*>(const_cast<StringData*>(data)) - sizeof(Distance);
  auto* block = reinterpret_cast<StringBlock*>(slot - reinterpret_cast<const Distance*>(slot)->bytes);
  if (block->texts.fetch_sub(1, std::memory_order_acq_rel) == 1) destroy(block);
}

}  // namespace HalconCpp::detail
