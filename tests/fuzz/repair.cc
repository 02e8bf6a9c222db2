#include "repair.h"

#include <zlib.h>

#include <cstring>

#include "container/format.h"
#include "driver.h"

namespace fuzz {

namespace {

std::uint32_t big_endian(const std::uint8_t* at) {
  return std::uint32_t{at[0]} << 24 | std::uint32_t{at[1]} << 16 | std::uint32_t{at[2]} << 8 | at[3];
}

}  // namespace

void repair_png(std::uint8_t* data, std::size_t size) {
  if (!text(data, size).starts_with("\x89PNG")) return;
  for (std::size_t at = 8; at + 12 <= size;) {
    const std::uint32_t length = big_endian(data + at);
    if (length > size - at - 12) return;
    const auto sum = static_cast<std::uint32_t>(crc32(0, data + at + 4, length + 4));
    for (std::size_t i = 0; i < 4; ++i) data[at + 8 + length + i] = static_cast<std::uint8_t>(sum >> (24 - 8 * i));
    at += 12 + std::size_t{length};
  }
}

std::size_t mutate_container(std::uint8_t* data, std::size_t size, std::size_t max_size, Mutate mutate) {
  constexpr std::size_t sum_size = sizeof(std::uint64_t);
  if (max_size <= sum_size) return mutate(data, size, max_size);
  size = mutate(data, size > sum_size ? size - sum_size : size, max_size - sum_size);
  HalconCpp::detail::container::Checksum sum;
  sum.add(reinterpret_cast<const std::byte*>(data), size);
  const std::uint64_t value = sum.value();
  std::memcpy(data + size, &value, sum_size);
  return size + sum_size;
}

}  // namespace fuzz
