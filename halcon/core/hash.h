// The hash of texts and numbers for the tables of keys and of points: SipHash-1-3 (Aumasson and Bernstein, "SipHash: a
// fast short-input PRF") under a random key per process, so that no file can be made whose values all fall into one
// bucket.
#ifndef HALCONCPP_CORE_HASH_H
#define HALCONCPP_CORE_HASH_H

#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace HalconCpp::detail {

struct HashKey {
  std::uint64_t k0;
  std::uint64_t k1;
};
extern const HashKey hash_key;

class SipHash {
 public:
  void add(std::uint64_t word) noexcept {
    v3_ ^= word;
    round();
    v0_ ^= word;
  }
  std::uint64_t finish() noexcept {
    v2_ ^= 0xff;
    for (int i = 0; i < 3; ++i) round();
    return v0_ ^ v1_ ^ v2_ ^ v3_;
  }

 private:
  void round() noexcept {
    v0_ += v1_;
    v2_ += v3_;
    v1_ = std::rotl(v1_, 13) ^ v0_;
    v3_ = std::rotl(v3_, 16) ^ v2_;
    v0_ = std::rotl(v0_, 32) + v3_;
    v2_ += v1_;
    v1_ = std::rotl(v1_, 17) ^ v2_;
    v3_ = std::rotl(v3_, 21) ^ v0_;
    v2_ = std::rotl(v2_, 32);
  }

  std::uint64_t v0_ = hash_key.k0 ^ 0x736f6d6570736575u;
  std::uint64_t v1_ = hash_key.k1 ^ 0x646f72616e646f6du;
  std::uint64_t v2_ = hash_key.k0 ^ 0x6c7967656e657261u;
  std::uint64_t v3_ = hash_key.k1 ^ 0x7465646279746573u;
};

inline std::uint64_t hash_of(std::uint64_t number) noexcept {
  SipHash hash;
  hash.add(number);
  return hash.finish();
}

inline std::uint64_t hash_of(std::string_view text) noexcept {
  SipHash hash;
  const char* at = text.data();
  std::size_t left = text.size();
  std::uint64_t word;
  for (; left >= sizeof word; at += sizeof word, left -= sizeof word) {
    std::memcpy(&word, at, sizeof word);
    hash.add(word);
  }
  word = std::uint64_t{text.size()} << 56;
  if (left > 0) std::memcpy(&word, at, left);
  hash.add(word);
  return hash.finish();
}

// For the standard library's tables of texts, whose own hash has a fixed seed. Takes std::string and std::string_view.
struct TextHash {
  std::size_t operator()(std::string_view text) const noexcept { return static_cast<std::size_t>(hash_of(text)); }
};

}  // namespace HalconCpp::detail

#endif
