// Pixels as the host receives them, against one copy of as many bytes into a block like the host's.
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "files.h"
#include "images.h"
#include "process.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "rows.h"

namespace bench {

namespace {

using namespace HalconCpp;

double time_of_extraction(const OpenObject& object) {
  return seconds([&] {
    std::uint32_t width, height, stride, format;
    std::uint8_t* pixels;
    require(qv_extract_image(object.reader.get(), object.node, 0, &width, &height, &stride, &format, &pixels) == 1,
            "pixels are extracted");
    qv_free_buffer(pixels);
  });
}

double time_of_copy(const char* from, std::size_t bytes) {
  return seconds([&] {
    const Block block = new_block(bytes);
    std::memcpy(block.get(), from, bytes);
    keep(block.get());
  });
}

// One pass over integers of 16 bits that leaves one byte of each.
double time_of_narrowing(const std::uint16_t* from, std::size_t pixels) {
  return seconds([&] {
    const Block block = new_block(pixels);
    char* __restrict const to = block.get();
    for (std::size_t i = 0; i < pixels; ++i) to[i] = static_cast<char>(from[i] >> 4);
    keep(block.get());
  });
}

std::shared_ptr<const OpenObject> opened(const HObject& image) {
  const std::string path = path_of("image.hobj");
  WriteObject(image, path.c_str());
  return std::make_shared<const OpenObject>(open_first_object(path));
}

void add_image_row(const char* work, double at_most, std::size_t output_bytes, HObject (*make)()) {
  add_row({work, "one memcpy of as many bytes", at_most, 15}, [=] {
    const auto object = opened(make());
    const std::shared_ptr<const Block> bytes = std::make_shared<Block>(new_block(output_bytes));
    std::memset(bytes->get(), 'x', output_bytes);
    return Pair{[=] { return time_of_extraction(*object); }, [=] { return time_of_copy(bytes->get(), output_bytes); }};
  });
}

HObject photo_in_circle() {
  HObject circle, reduced;
  GenCircle(&circle, photo_height / 2.0, photo_width / 2.0, photo_height / 2.5);
  ReduceDomain(photo("byte", 3), circle, &reduced);
  return reduced;
}

}  // namespace

void add_image_rows() {
  add_image_row("image, 8-bit gray", 1.15, photo_pixels, [] { return photo("byte", 1); });
  add_image_row("image, RGB", 1.3, 3 * photo_pixels, [] { return photo("byte", 3); });
  add_image_row("image, RGBA", 1.3, 4 * photo_pixels, [] { return photo("byte", 4); });
  add_image_row("image, RGB with a reduced domain", 2.2, 4 * photo_pixels, photo_in_circle);
  add_row({"image, 16-bit gray", "one pass over the input", 1.5, 15}, [] {
    const auto object = opened(photo("uint2", 1));
    const std::shared_ptr<const Block> bytes = std::make_shared<Block>(new_block(2 * photo_pixels));
    std::memset(bytes->get(), 'x', 2 * photo_pixels);
    return Pair{[=] { return time_of_extraction(*object); },
                [=] { return time_of_narrowing(reinterpret_cast<const std::uint16_t*>(bytes->get()), photo_pixels); }};
  });
}

}  // namespace bench
