// Pixels as the host receives them, against copying as many bytes twice into fresh blocks.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "HalconCreate.h"
#include "files.h"
#include "images.h"
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

double time_of_two_copies(const char* from, std::size_t bytes) {
  return seconds([&] {
    void* first = std::malloc(bytes);
    void* second = std::malloc(bytes);
    require(first && second, "there is memory");
    std::memcpy(first, from, bytes);
    std::memcpy(second, from, bytes);
    benchmark::DoNotOptimize(first);
    benchmark::DoNotOptimize(second);
    benchmark::ClobberMemory();
    std::free(first);
    std::free(second);
  });
}

void add_image_row(const char* work, double at_most, std::size_t output_bytes, HObject (*make)()) {
  add_row({work, "two memcpy of as many bytes", at_most, 25}, [=] {
    const std::string path = path_of("image.hobj");
    WriteObject(make(), path.c_str());
    const auto object = std::make_shared<const OpenObject>(open_first_object(path));
    const auto bytes = std::make_shared<const std::string>(output_bytes, 'x');
    return Pair{[=] { return time_of_extraction(*object); },
                [=] { return time_of_two_copies(bytes->data(), bytes->size()); }};
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
  add_image_row("image, RGB", 1.8, 3 * photo_pixels, [] { return photo("byte", 3); });
  add_image_row("image, RGBA", 1.8, 4 * photo_pixels, [] { return photo("byte", 4); });
  add_image_row("image, RGB with a reduced domain", 2.2, 4 * photo_pixels, photo_in_circle);
  add_image_row("image, 16-bit gray", 4.0, photo_pixels, [] { return photo("uint2", 1); });
}

}  // namespace bench
