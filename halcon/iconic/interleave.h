// Three planes of bytes to pixels of three bytes each, and back.
#ifndef HALCONCPP_ICONIC_INTERLEAVE_H
#define HALCONCPP_ICONIC_INTERLEAVE_H

#include <cstddef>
#include <cstdint>

namespace HalconCpp::detail {

// samples[3 * i + k] is pixel i of plane k.
void split_three_bytes(const std::uint8_t* samples, std::size_t pixels, std::uint8_t* first, std::uint8_t* second,
                       std::uint8_t* third) noexcept;
void join_three_bytes(const std::uint8_t* first, const std::uint8_t* second, const std::uint8_t* third,
                      std::size_t pixels, std::uint8_t* samples) noexcept;

}  // namespace HalconCpp::detail

#endif
