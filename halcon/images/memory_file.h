// Files in memory for libraries that read and write through callbacks. Nothing here throws, since C code calls it.
#ifndef HALCONCPP_IMAGES_MEMORY_FILE_H
#define HALCONCPP_IMAGES_MEMORY_FILE_H

#include <algorithm>
#include <cstring>
#include <new>

#include "images/codec.h"

namespace HalconCpp::detail {

struct MemoryFile {
  Bytes source;  // of a file to be read
  Buffer<std::byte> written{};
  std::size_t position = 0;  // may be beyond the end: nothing is read there, and a write fills the gap with zeros
  bool out_of_memory = false;

  Bytes content() const noexcept { return written.empty() ? source : Bytes(written); }

  std::size_t read(void* to, std::size_t bytes) noexcept {
    const Bytes rest = content().subspan(std::min(position, content().size()));
    const std::size_t count = std::min(bytes, rest.size());
    if (count) std::memcpy(to, rest.data(), count);
    position += count;
    return count;
  }

  bool write(const void* from, std::size_t bytes) noexcept {
    try {
      while (written.size() < position) written.push_back(std::byte{0});
      const std::size_t over = std::min(bytes, written.size() - position);
      if (over) std::memcpy(written.data() + position, from, over);
      written.append(static_cast<const std::byte*>(from) + over, bytes - over);
    } catch (...) {  // no memory, or none that the call may take
      out_of_memory = true;
      return false;
    }
    position += bytes;
    return true;
  }
};

}  // namespace HalconCpp::detail

#endif
