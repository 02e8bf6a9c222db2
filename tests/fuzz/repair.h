// Corrects the checksums of mutated files, so that the mutation reaches the code after the check.
#ifndef QUOVEL_FUZZ_REPAIR_H
#define QUOVEL_FUZZ_REPAIR_H

#include <cstddef>
#include <cstdint>

namespace fuzz {

// The checksum of each chunk of a PNG; other files stay as they are.
void repair_png(std::uint8_t* data, std::size_t size);

// Mutates a container by `mutate(data, size, max_size)`, and corrects the checksum at its end.
using Mutate = std::size_t (*)(std::uint8_t* data, std::size_t size, std::size_t max_size);
std::size_t mutate_container(std::uint8_t* data, std::size_t size, std::size_t max_size, Mutate mutate);

}  // namespace fuzz

#endif
