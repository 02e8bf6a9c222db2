// PNG, JPEG, TIFF, JPEG 2000, BMP, GIF, PCX, Sun raster and XWD: the content tells which.
#include <zlib.h>

#include "driver.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t max_size);
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size, unsigned seed);

static uint32_t big_endian(const uint8_t* at) {
  return uint32_t{at[0]} << 24 | uint32_t{at[1]} << 16 | uint32_t{at[2]} << 8 | at[3];
}

// The checksums of a PNG's chunks are mended, so that what stands behind them is reached.
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size, unsigned) {
  size = LLVMFuzzerMutate(data, size, max_size);
  if (!fuzz::text(data, size).starts_with("\x89PNG")) return size;
  for (size_t at = 8; at + 12 <= size;) {
    const uint32_t length = big_endian(data + at);
    if (length > size - at - 12) break;
    const auto sum = static_cast<uint32_t>(crc32(0, data + at + 4, length + 4));
    for (size_t i = 0; i < 4; ++i) data[at + 8 + length + i] = static_cast<uint8_t>(sum >> (24 - 8 * i));
    at += 12 + size_t{length};
  }
  return size;
}

FUZZ_TARGET(input) { fuzz::use(fuzz::reader().objects(fuzz::put("input.img", input))); }
