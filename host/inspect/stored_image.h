// The stored values of an image, of any pixel type and number of channels. The library draws 8-bit pixels only, but
// saves images as they are: this saves one as TIFF in a temporary folder and reads that.
#ifndef QUOVEL_HOST_STORED_IMAGE_H
#define QUOVEL_HOST_STORED_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "session.h"

namespace host {

// What one value is: unsigned and signed integers and floating point numbers, by their bytes.
enum class SampleType { U1, I1, U2, I2, U4, I4, I8, F4, F8 };
inline std::size_t sample_size(SampleType type) {
  constexpr std::size_t sizes[] = {1, 1, 2, 2, 4, 4, 8, 4, 8};
  return sizes[static_cast<std::size_t>(type)];
}

struct StoredImage {
  SampleType type = SampleType::U1;
  std::uint32_t width = 0, height = 0, channels = 0;
  // The channels one after the other, each width x height values, row by row, in the byte order of this machine.
  std::vector<std::uint8_t> values;
};

// Image `index` of an object node. Values outside of the domain are 0: the file holds no others. Throws Failure.
StoredImage stored_image(const Session& session, const qv_node* node, std::int32_t index);

}  // namespace host

#endif
