// The keys of one JSON document: texts that come again are kept once, and so are lists of keys.
#ifndef HALCONCPP_DICTS_JSON_KEYS_H
#define HALCONCPP_DICTS_JSON_KEYS_H

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "core/access.h"
#include "core/string_blocks.h"

namespace HalconCpp::detail {

class JsonKeys {
 public:
  explicit JsonKeys(StringBlocks& texts) noexcept : texts_(texts) {}
  JsonKeys(const JsonKeys&) = delete;
  JsonKeys& operator=(const JsonKeys&) = delete;
  ~JsonKeys();

  // A copy of a text, which lives as long as this object: the only one while `keeps_all`, afterwards most likely the
  // one that it gave before. `new_in_object` is set to false when object number `object` may have used the key before;
  // objects are numbered upwards from 1 in the order in which they begin.
  const StringData* key(std::string_view text, std::uint32_t object, bool& new_in_object);
  bool keeps_all() const noexcept { return kept_ == known_.size(); }

  // Keys made by `key`, as a tuple; null when that list has not been remembered.
  const HTuple* known_list(std::span<const StringData* const> keys) const noexcept;
  // Makes the tuple and remembers it.
  const HTuple& new_list(std::span<const StringData* const> keys);

  // The integers 0..n-1.
  HTuple numbers(std::size_t n);

 private:
  struct Known {
    const StringData* text;
    std::uint32_t last_object;
    std::uint32_t next;  // the key that came after this one the last time
  };
  struct Slot {
    std::uint32_t hash;
    std::uint32_t number;  // 0: free, else 1 + position in known_
  };
  std::uint32_t find_or_add(std::string_view text);
  bool may_keep_more() const noexcept;
  static std::size_t list_place(std::span<const StringData* const> keys) noexcept;
  void grow();

  StringBlocks& texts_;
  Buffer<Known> known_;   // in the order in which they came
  Buffer<Slot> slots_;    // a power of two, at most half of them in use
  std::size_t kept_ = 0;  // the first so many of known_ are all found again
  std::size_t repeats_ = 0;
  std::uint32_t previous_ = 0;
  std::array<HTuple, 256> lists_;
  std::array<HTuple, 64> numbers_;
};

}  // namespace HalconCpp::detail

#endif
