// PNG, JPEG, TIFF, JPEG 2000, BMP, GIF, PCX, Sun raster and XWD: the content tells which.
#include <cstddef>
#include <cstdint>

#include "driver.h"
#include "repair.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t max_size);
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size, unsigned seed);

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size, unsigned) {
  size = LLVMFuzzerMutate(data, size, max_size);
  fuzz::repair_png(data, size);
  return size;
}

FUZZ_TARGET(input) { fuzz::use(fuzz::reader().objects(fuzz::put("input.img", input))); }
