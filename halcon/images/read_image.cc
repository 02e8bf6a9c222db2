#include <map>
#include <string>
#include <vector>

#include "core/access.h"
#include "core/failure.h"
#include "core/file.h"
#include "core/limits.h"
#include "iconic/arguments.h"
#include "images/codec.h"

namespace HalconCpp {

using namespace detail;

namespace {

[[noreturn]] void refuse_unknown(std::string_view path, Bytes file) {
  if (file.empty()) refuse("the file is empty");
  if (starts_with(file, "QVHALCON")) refuse("is an object file, no image file: ReadObject opens it");
  if (extension_of(path) == "ima")
    refuse("files of the format \"ima\" are read by an installed HALCON only, since the format is not public");
  refuse("is no image file of a known format");
}

ImageRef read_image(std::string_view path) {
  const Buffer<std::byte> content = read_file(path);
  const Bytes file = content;
  for (const ImageReader& reader : image_readers()) {
    if (!reader.recognizes(file)) continue;
    if (reader.read) return reader.read(file);
    refuse("this build reads no " + std::string(reader.name) + " files (" + reader.missing + ")");
  }
  refuse_unknown(path, file);
}

// The images of one call. A name that comes again gives the same image, so that a short list cannot fill the memory.
class Images {
 public:
  const ImageRef& read(std::string_view path) {
    const auto [place, is_new] = known_.try_emplace(std::string(path));
    if (!is_new) return place->second;
    place->second = read_image(path);
    bytes_ += place->second->pixels() * pixel_size(place->second->type) * place->second->channels.size();
    if (bytes_ > limits::image_bytes)
      refuse("with the images before it takes " + std::to_string(bytes_) + " bytes; at most " +
             std::to_string(limits::image_bytes) + " are read at once");
    return place->second;
  }

 private:
  std::map<std::string, ImageRef> known_;
  std::uint64_t bytes_ = 0;
};

}  // namespace

void ReadImage(HObject* image, const HTuple& file) {
  operate("ReadImage", [&] {
    if (file.Length() == 0) refuse("there is no file name");
    Images known;
    std::vector<ObjectRef> images;
    for (Hlong i = 0; i < file.Length(); ++i) {
      const HTuple name = Access::element(file, i);
      const std::string_view path = text_argument(name, "a file name");
      images.push_back(in_file(path, [&] { return known.read(path); }));
    }
    *image = make_object(std::move(images));
  });
}

}  // namespace HalconCpp
