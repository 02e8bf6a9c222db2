// Which bytes of a file its parts (strips, tiles) take. A file may name one range many times: what it can hold is
// counted from the distinct bytes, what reading it costs from all of them.
#ifndef HALCONCPP_IMAGES_FILE_RANGES_H
#define HALCONCPP_IMAGES_FILE_RANGES_H

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <map>

namespace HalconCpp::detail {

class FileRanges {
 public:
  // A part of `bytes` bytes at `begin`; their sum must fit into 64 bits.
  void add(std::uint64_t begin, std::uint64_t bytes) {
    all_ += bytes;
    if (bytes == 0) return;
    std::uint64_t end = begin + bytes;
    auto next = ranges_.upper_bound(begin);
    if (next != ranges_.begin() && std::prev(next)->second >= begin) begin = (--next)->first;
    while (next != ranges_.end() && next->first <= end) {
      end = std::max(end, next->second);
      distinct_ -= next->second - next->first;
      next = ranges_.erase(next);
    }
    ranges_.emplace_hint(next, begin, end);
    distinct_ += end - begin;
  }
  std::uint64_t distinct() const noexcept { return distinct_; }
  std::uint64_t repeated() const noexcept { return all_ - distinct_; }

 private:
  std::map<std::uint64_t, std::uint64_t> ranges_;  // begin to end; neither overlapping nor adjacent
  std::uint64_t all_ = 0, distinct_ = 0;
};

}  // namespace HalconCpp::detail

#endif
