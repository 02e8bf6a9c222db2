// Files in memory for libraries that read and write through callbacks. Nothing here throws, since C code calls it.
#ifndef HALCONCPP_IMAGES_MEMORY_FILE_H
#define HALCONCPP_IMAGES_MEMORY_FILE_H

#include <algorithm>
#include <cstring>
#include <new>

#include "images/codec.h"

namespace HalconCpp::detail {

struct MemorySource {
  Bytes content;
  std::size_t position = 0;  // may be beyond the end, where nothing is read

  std::size_t read(void* to, std::size_t bytes) noexcept {
    const std::size_t count = std::min(bytes, content.size() - std::min(position, content.size()));
    if (count) std::memcpy(to, content.data() + position, count);
    position += count;
    return count;
  }
};

struct MemorySink {
  Buffer<std::byte> content;
  std::size_t position = 0;  // may be beyond the end; a write then fills the gap with zeros
  bool out_of_memory = false;

  bool write(const void* from, std::size_t bytes) noexcept {
    try {
      while (content.size() < position) content.push_back(std::byte{0});
      const std::size_t over = std::min(bytes, content.size() - position);
      if (over) std::memcpy(content.data() + position, from, over);
      content.append(static_cast<const std::byte*>(from) + over, bytes - over);
    } catch (const std::bad_alloc&) {
      out_of_memory = true;
      return false;
    }
    position += bytes;
    return true;
  }
};

}  // namespace HalconCpp::detail

#endif
