// What ReadImage and WriteImage know of an image format. Each format is one file, which hides its library.
#ifndef HALCONCPP_IMAGES_CODEC_H
#define HALCONCPP_IMAGES_CODEC_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

#include "core/buffer.h"
#include "iconic/deferred_image.h"
#include "iconic/image.h"

namespace HalconCpp::detail {

using Bytes = std::span<const std::byte>;

// The images of one file in the file's order: pages, frames. At least one.
using Images = std::vector<ImageRef>;

// A format: `recognizes` looks at the first bytes only and is cheap; `read` decodes all images of a whole file in
// memory and rejects what it cannot read. A format that can hold several images charges an ImageBudget for each before
// it allocates anything for it. `read` is null when this build lacks the library; `missing` says which.
struct ImageReader {
  const char* name;
  bool (*recognizes)(Bytes file);
  Images (*read)(Bytes file);
  const char* missing;
  // The shape of a file's one image by the file's first bytes, checked as `read` checks it; fails when more are needed.
  // Null for a format that cannot tell.
  ImageShape (*shape)(Bytes start, std::uint64_t file_bytes) = nullptr;
};

// The limits for all images of one file together: at most limits::file_images, and their planes follow the rule for
// those of a single image (check_image_size). Otherwise a small file could name one picture many times.
class ImageBudget {
 public:
  explicit ImageBudget(std::uint64_t file_bytes) noexcept : file_bytes_(file_bytes) {}
  // One more image; rejects it when it, or all so far together, break a limit.
  void charge(std::uint64_t width, std::uint64_t height, std::uint64_t channels, PixelType type);

 private:
  std::uint64_t file_bytes_;
  std::uint64_t images_ = 0;
  std::uint64_t bytes_ = 0;  // of their planes
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
