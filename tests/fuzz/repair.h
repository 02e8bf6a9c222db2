// Sums that make damaged files plausible again, so that a mutation reaches what stands behind them.
#ifndef QUOVEL_FUZZ_REPAIR_H
#define QUOVEL_FUZZ_REPAIR_H

#include <cstddef>
#include <cstdint>

namespace fuzz {

// The checksum of each chunk of a PNG; other files stay as they are.
void repair_png(std::uint8_t* data, std::size_t size);

// Mutates what stands before the sum that ends a container, by `mutate(data, size, max_size)`, and sums it up again.
using Mutate = std::size_t (*)(std::uint8_t* data, std::size_t size, std::size_t max_size);
std::size_t mutate_container(std::uint8_t* data, std::size_t size, std::size_t max_size, Mutate mutate);

}  // namespace fuzz

#endif
