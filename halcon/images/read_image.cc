#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <map>
#include <mutex>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "container/unknown_file.h"
#include "core/access.h"
#include "core/arguments.h"
#include "core/buffer.h"
#include "core/failure.h"
#include "core/file.h"
#include "core/hash.h"
#include "core/limits.h"
#include "core/memory_limit.h"
#include "iconic/deferred_image.h"
#include "iconic/image.h"
#include "iconic/object_data.h"
#include "iconic/plane.h"
#include "images/codec.h"
#include "images/file_identity.h"

namespace HalconCpp {

using namespace detail;

namespace {

Images read_images(std::string_view path, InputFile& opened) {
  const Buffer<std::byte> content = opened.read_all();
  const Bytes file = content;
  for (const ImageReader& reader : image_readers()) {
    if (!reader.recognizes(file)) continue;
    if (reader.read) return reader.read(file);
    fail("this build reads no " + std::string(reader.name) + " files (" + reader.missing + ")");
  }
  reject_file(path, image_file);
}

// What the start of a file says of its one image; nothing when that takes all of the file, or when something is wrong,
// which reading the file will report.
struct Header {
  ImageShape shape;
  InputFile::Version version;
};

std::optional<Header> read_header(std::string_view path) try {
  constexpr std::size_t starts[] = {4096, 131072};  // the second with a preview or a color profile
  InputFile file(path);
  Buffer<std::byte> start;
  for (const std::size_t bytes : starts) {
    start = Buffer<std::byte>(static_cast<std::size_t>(std::min<std::uint64_t>(bytes, file.size())));
    file.seek(0);
    file.read(start.data(), start.size());
    for (const ImageReader& reader : image_readers()) {
      if (!reader.recognizes(start)) continue;
      if (!reader.shape) return std::nullopt;
      try {
        return Header{reader.shape(start, file.size()), file.version()};
      } catch (const Failure&) {
        break;
      }
    }
  }
  return std::nullopt;
} catch (const Failure&) {
  return std::nullopt;
}

// The same from anywhere: the working folder may be another one by then.
std::string absolute_path(const std::string& name) {
  const std::u8string path = std::filesystem::absolute(native_path(name)).u8string();
  return {path.begin(), path.end()};
}

ImageRef deferred_file(const std::string& name, const Header& header) {
  return deferred_image(header.shape, [name, path = absolute_path(name), version = header.version] {
    return in_file(name, [&] {
      InputFile file(path);
      if (file.version() != version) fail("the file was changed after it was opened");
      return read_images(path, file).front();
    });
  });
}

// The files of one call, read in several threads, all of which have ended when `read` returns. Each thread takes the
// next file that is left; after a failure no new one is started. So all files before a failed one have been read, and
// the failure that is reported is the one that reading in order meets. A file that comes again, under any name, is read
// once and gives the same images: a short list cannot fill the memory.
class ImageFiles {
 public:
  explicit ImageFiles(const HTuple& files) {
    std::unordered_map<std::string, std::size_t, TextHash> by_name;
    std::map<FileIdentity, std::size_t> by_identity;
    for (Hlong i = 0; i < files.Length(); ++i) {
      const auto [name, is_new] =
          by_name.try_emplace(std::string(text_argument(Access::element(files, i), "a file name")), names_.size());
      if (is_new) {
        if (const auto identity = file_identity(name->first))
          name->second = by_identity.try_emplace(*identity, names_.size()).first->second;
        if (name->second == names_.size()) names_.push_back(name->first);
      }
      order_.push_back(name->second);
    }
    images_.resize(names_.size());
  }

  std::vector<ObjectRef> read() {
    read_headers();
    std::vector<std::thread> helpers;
    start(helpers);
    work();
    for (std::thread& helper : helpers) helper.join();
    if (failure_) std::rethrow_exception(failure_);
    check_repeats();
    std::vector<ObjectRef> all;
    for (const std::size_t at : order_) all.insert(all.end(), images_[at].begin(), images_[at].end());
    return all;
  }

 private:
  // Where the images take much memory together, only their headers are looked at: `headers_` is empty otherwise.
  void read_headers() {
    if (names_.size() < 2) return;
    std::uint64_t bytes = 0;
    headers_.reserve(names_.size());
    for (const std::string& name : names_) {
      headers_.push_back(read_header(name));
      if (headers_.back()) bytes += headers_.back()->shape.bytes();  // each at most limits::image_bytes: fits
    }
    if (bytes <= limits::decoded_at_once) headers_.clear();
  }

  Images read_one(std::size_t at) const {
    if (!headers_.empty() && headers_[at]) return {deferred_file(names_[at], *headers_[at])};
    InputFile file(names_[at]);
    return read_images(names_[at], file);
  }

  // A few files are read as fast by one thread. When no thread can be started, this one reads them all.
  void start(std::vector<std::thread>& helpers) {
    constexpr std::size_t files_per_thread = 4, max_threads = 16;
    const std::size_t wanted =
        std::min({std::size_t{std::thread::hardware_concurrency()}, names_.size() / files_per_thread, max_threads});
    helpers.reserve(wanted);
    try {
      while (helpers.size() + 1 < wanted)
        helpers.emplace_back([this] {
          const QuietScope quiet;
          const MemoryAccount account(account_);
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
        in_file(names_[at], [&] { keep(at, read_one(at)); });
      } catch (...) {
        keep_first(at, std::current_exception());
      }
    }
  }

  void keep(std::size_t at, Images images) {
    for (const ImageRef& image : images) bytes_ += image->pixels() * pixel_size(image->type) * image->channels.size();
    if (bytes_ > limits::image_bytes)
      fail("the images of one call take more than " + std::to_string(limits::image_bytes) + " bytes");
    images_[at] = std::move(images);
  }

  // A repeated file costs no pixels again, but one object per image.
  void check_repeats() const {
    std::vector<bool> seen(names_.size());
    std::uint64_t repeated = 0;
    for (const std::size_t at : order_) {
      if (seen[at]) repeated += images_[at].size() - 1;
      seen[at] = true;
    }
    if (repeated > limits::file_images)
      fail("files that are named again add more than " + std::to_string(limits::file_images) + " images");
  }

  void keep_first(std::size_t at, std::exception_ptr failure) noexcept {
    const std::lock_guard lock(mutex_);
    if (at < failed_at_) {
      failed_at_ = at;
      failure_ = std::move(failure);
    }
    failed_ = true;
  }

  MemoryAccount account_;                       // of the call
  std::vector<std::string> names_;              // of the different files
  std::vector<std::size_t> order_;              // for each element of the call its place in names_
  std::vector<Images> images_;                  // of names_
  std::vector<std::optional<Header>> headers_;  // of names_
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
    if (file.Length() == 0) fail("there is no file name");
    // The ceiling of the call is read once for all files; when it is wrong, the error names the first.
    in_file(text_argument(Access::element(file, 0), "a file name"), [] { static_cast<void>(memory_limit()); });
    *image = make_object(ImageFiles(file).read());
  });
}

}  // namespace HalconCpp
