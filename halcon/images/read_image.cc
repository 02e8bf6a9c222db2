<<<<<<< HEAD
#include <map>
=======
#include <algorithm>
#include <atomic>
#include <cstdint>
#include <exception>
#include <mutex>
>>>>>>> h-bench
#include <string>
#include <system_error>
#include <thread>
#include <utility>
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

<<<<<<< HEAD
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
=======
// The files of one call in several threads, all of which have ended when it returns. Each takes the next file that
// nobody has; after a failure no new one is begun. So all files before a failed one have been read, and the failure
// that leaves is the one that reading in order meets.
class ImageFiles {
 public:
  explicit ImageFiles(const HTuple& files)
      : files_(files), count_(static_cast<std::size_t>(files.Length())), images_(count_) {}

  std::vector<ObjectRef> read() {
    std::vector<std::thread> helpers;
    start(helpers);
    work();
    for (std::thread& helper : helpers) helper.join();
    if (failure_) std::rethrow_exception(failure_);
    return std::move(images_);
  }

 private:
  // Few files are read as fast by one thread. Without a thread to be had there is still this one.
  void start(std::vector<std::thread>& helpers) {
    constexpr std::size_t files_per_thread = 4, most_threads = 16;
    const std::size_t wanted =
        std::min({std::size_t{std::thread::hardware_concurrency()}, count_ / files_per_thread, most_threads});
    helpers.reserve(wanted);
    try {
      while (helpers.size() + 1 < wanted)
        helpers.emplace_back([this] {
          const QuietScope quiet;
          work();
        });
    } catch (const std::system_error&) {
      return;
    }
  }

  void work() noexcept {
    while (!failed_) {
      const std::size_t at = next_++;
      if (at >= count_) return;
      try {
        const HTuple name = Access::element(files_, static_cast<Hlong>(at));
        const std::string_view path = text_argument(name, "a file name");
        images_[at] = in_file(path, [&] { return read_image(path); });
      } catch (...) {
        keep_first(at, std::current_exception());
      }
    }
  }

  void keep_first(std::size_t at, std::exception_ptr failure) noexcept {
    const std::lock_guard lock(mutex_);
    if (at < failed_at_) {
      failed_at_ = at;
      failure_ = std::move(failure);
    }
    failed_ = true;
  }

  const HTuple& files_;
  const std::size_t count_;
  std::vector<ObjectRef> images_;
  std::atomic<std::size_t> next_{0};
  std::atomic<bool> failed_{false};
  std::mutex mutex_;
  std::size_t failed_at_ = SIZE_MAX;
  std::exception_ptr failure_;
>>>>>>> h-bench
};

}  // namespace

void ReadImage(HObject* image, const HTuple& file) {
  operate("ReadImage", [&] {
    if (file.Length() == 0) refuse("there is no file name");
<<<<<<< HEAD
    Images known;
    std::vector<ObjectRef> images;
    for (Hlong i = 0; i < file.Length(); ++i) {
      const HTuple name = Access::element(file, i);
      const std::string_view path = text_argument(name, "a file name");
      images.push_back(in_file(path, [&] { return known.read(path); }));
    }
    *image = make_object(std::move(images));
=======
    *image = make_object(ImageFiles(file).read());
>>>>>>> h-bench
  });
}

}  // namespace HalconCpp
