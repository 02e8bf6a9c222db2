#include "iconic/deferred_image.h"

#include <algorithm>
#include <list>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "core/failure.h"
#include "core/limits.h"

namespace HalconCpp::detail {

namespace {

class Source;

struct DeferredPlane final : PixelPlane {
  DeferredPlane(Source& s, std::size_t c) noexcept : PixelPlane(Deferred()), source(s), channel(c) {}
  Source& source;
  const std::size_t channel;
};

// The decoded images that were used last. Never destroyed: objects of the host may outlive what is static here.
class Cache {
 public:
  using Entries = std::list<std::pair<Source*, ImageRef>>;

  static Cache& instance() {
    static Cache& cache = *new Cache;
    return cache;
  }
  void use(Source& source, const ImageRef& image);
  void forget(Source& source) noexcept;

 private:
  void drop_last() noexcept;

  std::mutex mutex_;  // guards also Source::cached_
  Entries entries_;   // the last used first
  std::uint64_t bytes_ = 0;
};

// What the planes of one deferred image share.
class Source {
 public:
  Source(const ImageShape& shape, std::function<ImageRef()> decode) : shape_(shape), decode_(std::move(decode)) {}
  ~Source() { Cache::instance().forget(*this); }
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  const ImageShape& shape() const noexcept { return shape_; }
  ImageRef load() {
    const std::lock_guard lock(mutex_);
    ImageRef image = decoded_.lock();
    if (!image) {
      image = decode_();
      if (shape_of(*image) != shape_) fail("the file was changed after it was opened");
      decoded_ = image;
    }
    Cache::instance().use(*this, image);
    return image;
  }

 private:
  friend class Cache;
  const ImageShape shape_;
  const std::function<ImageRef()> decode_;
  std::mutex mutex_;
  std::weak_ptr<const Image> decoded_;  // while the cache or anybody else has it
  std::optional<Cache::Entries::iterator> cached_;
};

void Cache::use(Source& source, const ImageRef& image) {
  const std::lock_guard lock(mutex_);
  if (source.cached_) return entries_.splice(entries_.begin(), entries_, *source.cached_);
  const std::uint64_t bytes = source.shape().bytes();
  if (bytes > limits::decoded_cache) return;
  while (bytes_ > limits::decoded_cache - bytes) drop_last();
  entries_.emplace_front(&source, image);
  source.cached_ = entries_.begin();
  bytes_ += bytes;
}

void Cache::drop_last() noexcept {
  Source& source = *entries_.back().first;
  bytes_ -= source.shape().bytes();
  source.cached_.reset();
  entries_.pop_back();
}

void Cache::forget(Source& source) noexcept {
  const std::lock_guard lock(mutex_);
  if (!source.cached_) return;
  bytes_ -= source.shape().bytes();
  entries_.erase(*source.cached_);
  source.cached_.reset();
}

}  // namespace

ImageShape shape_of(const Image& image) noexcept {
  return {image.type, image.width, image.height, image.channels.size()};
}

ImageRef deferred_image(const ImageShape& shape, std::function<ImageRef()> decode) {
  const auto source = std::make_shared<Source>(shape, std::move(decode));
  std::vector<Plane> planes;
  planes.reserve(shape.channels);
  for (std::size_t i = 0; i < shape.channels; ++i) {
    // The plane refers to the source, which its control block keeps.
    struct Kept {
      Kept(std::shared_ptr<Source> s, std::size_t channel) : source(std::move(s)), plane(*source, channel) {}
      const std::shared_ptr<Source> source;
      const DeferredPlane plane;
    };
    const auto kept = std::make_shared<const Kept>(source, i);
    planes.emplace_back(kept, &kept->plane);
  }
  return std::make_shared<const Image>(shape.type, shape.width, shape.height, std::move(planes));
}

Plane with_pixels(const Plane& plane) {
  if (!plane->is_deferred()) return plane;
  const auto& deferred = static_cast<const DeferredPlane&>(*plane);
  return deferred.source.load()->channels[deferred.channel];
}

LoadedImage::LoadedImage(const Image& image) : image_(image) {
  const auto is_deferred = [](const Plane& plane) { return plane->is_deferred(); };
  if (std::none_of(image.channels.begin(), image.channels.end(), is_deferred)) return;
  std::vector<Plane> planes;
  for (const Plane& plane : image.channels) planes.push_back(with_pixels(plane));
  loaded_.emplace(image.type, image.width, image.height, std::move(planes), image.domain);
}

}  // namespace HalconCpp::detail
