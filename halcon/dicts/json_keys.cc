#include "dicts/json_keys.h"

#include <algorithm>

#include "dicts/text_hash.h"

namespace HalconCpp::detail {

JsonKeys::~JsonKeys() {
  for (const Slot& slot : slots_) release(slot.text);
}

const StringData* JsonKeys::key(std::string_view text, std::uint32_t object, bool& new_in_object) {
  if (text.empty()) {
    new_in_object = false;
    return nullptr;
  }
  if (used_ * 2 >= slots_.size()) grow();
  const auto hash = static_cast<std::uint32_t>(hash_of(text));
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = hash & mask;
  while (slots_[at].text && (slots_[at].hash != hash || text_of(slots_[at].text) != text)) at = (at + 1) & mask;
  Slot& slot = slots_[at];
  if (!slot.text) {
    slot.text = texts_.make(text);
    slot.hash = hash;
    ++used_;
  }
  // A later number tells of an object inside this one, which has hidden whether this one used the key.
  new_in_object = slot.last_object < object;
  slot.last_object = object;
  return slot.text;
}

void JsonKeys::grow() {
  std::vector<Slot> larger(slots_.empty() ? 64 : slots_.size() * 2);
  const std::size_t mask = larger.size() - 1;
  for (const Slot& slot : slots_) {
    if (!slot.text) continue;
    std::size_t at = slot.hash & mask;
    while (larger[at].text) at = (at + 1) & mask;
    larger[at] = slot;
  }
  slots_ = std::move(larger);
}

std::size_t JsonKeys::list_place(std::span<const StringData* const> keys) noexcept {
  const auto first = reinterpret_cast<std::uintptr_t>(keys.front());
  const auto last = reinterpret_cast<std::uintptr_t>(keys.back());
  return hash_of(first ^ (last << 16) ^ keys.size()) % std::tuple_size_v<decltype(lists_)>;
}

const HTuple* JsonKeys::known_list(std::span<const StringData* const> keys) const noexcept {
  const HTuple& list = lists_[list_place(keys)];
  if (Access::kind(list) != TupleKind::Array) return nullptr;
  const ArrayData& array = Access::array(list);
  const auto* known = static_cast<const StringData* const*>(array.elements);
  const bool same =
      static_cast<std::size_t>(array.length) == keys.size() && std::equal(keys.begin(), keys.end(), known);
  return same ? &list : nullptr;
}

const HTuple& JsonKeys::new_list(std::span<const StringData* const> keys) {
  Buffer<const StringData*> counted(keys.size());
  std::copy(keys.begin(), keys.end(), counted.begin());
  for (const StringData* key : keys) retain(key);
  HTuple& list = lists_[list_place(keys)];
  list = Access::strings(std::move(counted));
  return list;
}

HTuple JsonKeys::numbers(std::size_t n) {
  if (n < numbers_.size() && numbers_[n].Length() > 0) return numbers_[n];
  Buffer<Hlong> values(n);
  for (std::size_t i = 0; i < n; ++i) values[i] = static_cast<Hlong>(i);
  HTuple tuple = Access::integers(std::move(values));
  if (n < numbers_.size()) numbers_[n] = tuple;
  return tuple;
}

}  // namespace HalconCpp::detail
