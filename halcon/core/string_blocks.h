// An allocator of short texts. The texts of a document are made and released together, and many small allocations would
// take a quarter of the time of reading it.
#ifndef HALCONCPP_CORE_STRING_BLOCKS_H
#define HALCONCPP_CORE_STRING_BLOCKS_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "core/string_data.h"

namespace HalconCpp::detail {

struct StringBlock;

// Makes texts, in one thread. They are used like all others and outlive this object. A block, of 32 KiB at most, is
// freed with the last of its texts.
class StringBlocks {
 public:
  StringBlocks() noexcept = default;
  StringBlocks(const StringBlocks&) = delete;
  StringBlocks& operator=(const StringBlocks&) = delete;
  ~StringBlocks() { close(); }

  // As new_valid_string, of a text without NUL. A long text gets an allocation of its own.
  const StringData* make(std::string_view utf8);

 private:
  void open();
  void close() noexcept;

  StringBlock* block_ = nullptr;
  std::size_t block_bytes_ = 512;
  std::size_t used_ = 0;
  std::uint32_t texts_ = 0;  // in this block
};

// Called when the last reference to a text in a block is released.
void leave_block(const StringData* data) noexcept;

}  // namespace HalconCpp::detail

#endif
