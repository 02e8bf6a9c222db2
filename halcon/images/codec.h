// The image formats behind ReadImage and WriteImage. Each format is one file that hides its library.
#ifndef HALCONCPP_IMAGES_CODEC_H
#define HALCONCPP_IMAGES_CODEC_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "core/buffer.h"
#include "iconic/image.h"

namespace HalconCpp::detail {

using Bytes = std::span<const std::byte>;

// A format: `recognizes` looks at the first bytes only and is cheap; `read` decodes the first image of a whole file in
// memory and refuses what it cannot. A null `read` stands for a library that this build does without; `missing` says
// which.
struct ImageReader {
  const char* name;
  bool (*recognizes)(Bytes file);
  ImageRef (*read)(Bytes file);
  const char* missing;
};

// `format` is the name that WriteImage takes. `write` returns the whole file; pixels outside the domain have been
// filled. Null as above.
struct ImageWriter {
  const char* format;
  Buffer<std::byte> (*write)(const Image& image);
  const char* missing;
};

std::span<const ImageReader> image_readers();
std::span<const ImageWriter> image_writers();

inline bool starts_with(Bytes file, std::string_view magic) noexcept {
  return file.size() >= magic.size() && std::memcmp(file.data(), magic.data(), magic.size()) == 0;
}

}  // namespace HalconCpp::detail

#endif
