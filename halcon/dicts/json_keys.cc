#include "dicts/json_keys.h"

#include <algorithm>
#include <cstring>

#include "core/hash.h"

namespace HalconCpp::detail {

JsonKeys::~JsonKeys() {
  for (const Known& known : known_) release(known.text);
}

const StringData* JsonKeys::key(std::string_view text, std::uint32_t object, bool& new_in_object) {
  if (text.empty()) {
    new_in_object = false;
    return nullptr;
  }
  // Objects of one kind have their keys in the same order.
  std::uint32_t at = known_.empty() ? 0 : known_[previous_].next;
  if (known_.empty() || text_of(known_[at].text) != text) {
    at = find_or_add(text);
    known_[previous_].next = at;
  }
  previous_ = at;
  Known& known = known_[at];
  // A later number tells of an object inside this one, which has hidden whether this one used the key.
  new_in_object = at < kept_ && known.last_object < object;
  if (known.last_object != 0) ++repeats_;
  known.last_object = object;
  return known.text;
}

// A table that is larger than a processor's cache costs more than all else that is done with a key. It pays when keys
// come again; when most of them are new it stays as it is, and a new key takes another one's place.
bool JsonKeys::may_keep_more() const noexcept {
  constexpr std::size_t most_in_cache = std::size_t{1} << 16;
  return keeps_all() && (known_.size() < most_in_cache || repeats_ >= known_.size());
}

std::uint32_t JsonKeys::find_or_add(std::string_view text) {
  const bool keep = may_keep_more();
  if (keep && known_.size() * 2 >= slots_.size()) grow();
  const auto hash = static_cast<std::uint32_t>(hash_of(text));
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = hash & mask;
  for (; slots_[at].number != 0; at = (at + 1) & mask) {
    if (slots_[at].hash == hash && text_of(known_[slots_[at].number - 1].text) == text) return slots_[at].number - 1;
    if (!keep) break;
  }
  const auto position = static_cast<std::uint32_t>(known_.size());
  if (position == UINT32_MAX) throw std::bad_alloc();
  known_.push_back({nullptr, 0, 0});  // has its place before there is a text that could be lost
  if (keep) kept_ = known_.size();
  known_[position].text = texts_.make(text);
  slots_[at] = {hash, position + 1};
  return position;
}

void JsonKeys::grow() {
  Buffer<Slot> larger(slots_.empty() ? 64 : slots_.size() * 2);
  std::memset(larger.data(), 0, larger.size() * sizeof(Slot));
  const std::size_t mask = larger.size() - 1;
  for (const Slot& slot : slots_) {
    if (slot.number == 0) continue;
    std::size_t at = slot.hash & mask;
    while (larger[at].number != 0) at = (at + 1) & mask;
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
