// The hash of texts and numbers behind the key tables.
#ifndef HALCONCPP_DICTS_TEXT_HASH_H
#define HALCONCPP_DICTS_TEXT_HASH_H

#include <cstdint>
#include <cstring>
#include <string_view>

namespace HalconCpp::detail {

// Chosen anew in every process, so that no file can bring keys that all meet in one place.
struct HashSeed {
  std::uint64_t low;
  std::uint64_t high;
};
extern const HashSeed hash_seed;

inline std::uint64_t mix_hash(std::uint64_t hash, std::uint64_t word) noexcept {
  const std::uint64_t x = hash ^ word;
  const std::uint64_t product = ((x ^ hash_seed.low) & 0xFFFFFFFFu) * ((x ^ hash_seed.high) >> 32);
  return (hash << 29 | hash >> 35) ^ product ^ x * 0x9E3779B97F4A7C15u;
}

inline std::uint64_t finish_hash(std::uint64_t hash) noexcept { return hash ^ hash >> 32; }

inline std::uint64_t hash_of(std::uint64_t number) noexcept { return finish_hash(mix_hash(hash_seed.low, number)); }

inline std::uint64_t hash_of(std::string_view text) noexcept {
  std::uint64_t hash = hash_seed.high ^ text.size();
  const char* at = text.data();
  std::size_t left = text.size();
  std::uint64_t word;
  for (; left >= sizeof word; at += sizeof word, left -= sizeof word) {
    std::memcpy(&word, at, sizeof word);
    hash = mix_hash(hash, word);
  }
  word = 0;
  if (left > 0) std::memcpy(&word, at, left);
  return finish_hash(mix_hash(hash, word));
}

}  // namespace HalconCpp::detail

#endif
