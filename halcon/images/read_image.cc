#include <algorithm>
#include <atomic>
#include <cstdint>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include "core/access.h"
#include "core/arguments.h"
#include "core/failure.h"
#include "core/file.h"
#include "core/limits.h"
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

// The files of one call in several threads, all of which have ended when it returns. Each takes the next file that
// nobody has; after a failure no new one is begun. So all files before a failed one have been read, and the failure
// that leaves is the one that reading in order meets. A name that comes again gives the same image, so that a short
// list cannot fill the memory.
class ImageFiles {
 public:
  explicit ImageFiles(const HTuple& files) {
    std::unordered_map<std::string, std::size_t> known;
    for (Hlong i = 0; i < files.Length(); ++i) {
      const auto [place, is_new] =
          known.try_emplace(std::string(text_argument(Access::element(files, i), "a file name")), names_.size());
      if (is_new) names_.push_back(place->first);
      order_.push_back(place->second);
    }
    images_.resize(names_.size());
  }

  std::vector<ObjectRef> read() {
    std::vector<std::thread> helpers;
    start(helpers);
    work();
    for (std::thread& helper : helpers) helper.join();
    if (failure_) std::rethrow_exception(failure_);
    std::vector<ObjectRef> all;
    all.reserve(order_.size());
    for (const std::size_t at : order_) all.push_back(images_[at]);
    return all;
  }

 private:
  // Few files are read as fast by one thread. Without a thread to be had there is still this one.
  void start(std::vector<std::thread>& helpers) {
    constexpr std::size_t files_per_thread = 4, most_threads = 16;
    const std::size_t wanted =
        std::min({std::size_t{std::thread::hardware_concurrency()}, names_.size() / files_per_thread, most_threads});
    helpers.reserve(wanted);
    try {
      while (helpers.size() + 1 < wanted)
        helpers.emplace_back([this] {
          const QuietScope quiet;
          work();
        });
    } catch (const std::exception&) {  // no thread, or no memory for one
      return;
    }
  }

  void work() noexcept {
    while (!failed_) {
      const std::size_t at = next_++;
      if (at >= names_.size()) return;
      try {
        in_file(names_[at], [&] { keep(at, read_image(names_[at])); });
      } catch (...) {
        keep_first(at, std::current_exception());
      }
    }
  }

  void keep(std::size_t at, const ImageRef& image) {
    const std::uint64_t size = image->pixels() * pixel_size(image->type) * image->channels.size();
    if ((bytes_ += size) > limits::image_bytes)
      refuse("the images of one call take more than " + std::to_string(limits::image_bytes) + " bytes");
    images_[at] = image;
  }

  void keep_first(std::size_t at, std::exception_ptr failure) noexcept {
    const std::lock_guard lock(mutex_);
    if (at < failed_at_) {
      failed_at_ = at;
      failure_ = std::move(failure);
    }
    failed_ = true;
  }

  std::vector<std::string> names_;  // each once
  std::vector<std::size_t> order_;  // which of them each element of the call is
  std::vector<ObjectRef> images_;   // of the names
  std::atomic<std::uint64_t> bytes_{0};
  std::atomic<std::size_t> next_{0};
  std::atomic<bool> failed_{false};
  std::mutex mutex_;
  std::size_t failed_at_ = SIZE_MAX;
  std::exception_ptr failure_;
};

}  // namespace

void ReadImage(HObject* image, const HTuple& file) {
  operate("ReadImage", [&] {
    if (file.Length() == 0) refuse("there is no file name");
    *image = make_object(ImageFiles(file).read());
  });
}

}  // namespace HalconCpp
