#include "core/hash.h"

#include <chrono>
#include <exception>
#include <random>

namespace HalconCpp::detail {

namespace {

HashKey new_key() noexcept {
  try {
    std::random_device random;
    const auto word = [&] { return std::uint64_t{random()} << 32 | random(); };
    return {word(), word()};
  } catch (const std::exception&) {  // without random numbers: the time and an address, which no file can know
    const auto now = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    return {now, reinterpret_cast<std::uintptr_t>(&hash_key)};
  }
}

}  // namespace

const HashKey hash_key = new_key();

}  // namespace HalconCpp::detail
