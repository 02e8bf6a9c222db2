#include "dicts/json_builder.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <numeric>

#include "core/buffer.h"
#include "core/hash.h"
#include "core/limits.h"
#include "core/memory_limit.h"
#include "core/string_data.h"
#include "dicts/entry_table.h"

namespace HalconCpp::detail {

namespace {

// Whether two of the numbers are equal. Many of them are first divided into groups that fit in a cache.
bool has_repeats(const std::vector<std::uint64_t>& numbers) {
  constexpr std::size_t group_size = 512;
  const std::size_t groups = std::bit_ceil(numbers.size() / group_size + 1);
  std::vector<std::size_t> ends(groups + 1);
  const auto group_of = [&](std::uint64_t number) { return number & (groups - 1); };
  for (const std::uint64_t number : numbers) ++ends[group_of(number) + 1];
  std::partial_sum(ends.begin(), ends.end(), ends.begin());
  std::vector<std::uint64_t> sorted(numbers.size());
  for (const std::uint64_t number : numbers) sorted[ends[group_of(number)]++] = number;
  auto first = sorted.begin();
  for (std::size_t group = 0; group < groups; ++group) {
    const auto end = sorted.begin() + static_cast<std::ptrdiff_t>(ends[group]);
    std::sort(first, end);
    if (std::adjacent_find(first, end) != end) return true;
    first = end;
  }
  return false;
}

// Whether two of the texts are equal; it may also be true when all differ.
bool may_have_repeats(std::span<const std::string_view> keys) {
  constexpr std::size_t few = 12;  // comparing costs less than hashing
  if (keys.size() <= few) {
    for (std::size_t i = 1; i < keys.size(); ++i)
      for (std::size_t j = 0; j < i; ++j)
        if (keys[i] == keys[j]) return true;
    return false;
  }
  std::vector<std::uint64_t> numbers(keys.size());
  std::transform(keys.begin(), keys.end(), numbers.begin(), [](std::string_view key) { return hash_of(key); });
  return has_repeats(numbers);
}

std::vector<Entry> entries_of(std::span<HTuple> values) {
  charge_memory(sizeof(DictData) + values.size() * sizeof(Entry));
  std::vector<Entry> entries(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) entries[i].tuple = std::move(values[i]);
  return entries;
}

bool are_equal(const HTuple& tuple, std::span<const std::string_view> texts) {
  if (tuple.Length() != static_cast<Hlong>(texts.size())) return false;
  if (texts.size() == 1) return Access::text(tuple) == texts[0];
  const auto* const strings = static_cast<const StringData* const*>(Access::array(tuple).elements);
  return std::equal(texts.begin(), texts.end(), strings,
                    [](std::string_view a, const StringData* b) { return a == text_of(b); });
}

}  // namespace

bool JsonBuilder::reject_single_value() {
  return fail_event("the document is a single value; a dictionary is read from an object or an array");
}

HTuple JsonBuilder::key_tuple(std::span<const std::string_view> keys) {
  std::vector<HTuple> tuples;
  tuples.reserve(keys.size());
  for (const std::string_view key : keys) tuples.push_back(Access::adopt_string(texts_.make(key)));
  return Access::elements(std::move(tuples));
}

// The objects of a list mostly have the same keys. Each shares those of the object before it at its depth, which saves
// their texts and the search for a key that comes twice.
HTuple JsonBuilder::object_dict(std::span<const std::string_view> keys, std::span<HTuple> values) {
  auto* data = new DictData;
  HTuple dict = Access::handle_tuple(Access::wrap(data));
  if (keys.empty()) return dict;
  if (last_keys_.size() < open_.size()) last_keys_.resize(open_.size());
  HTuple& last = last_keys_[open_.size() - 1];
  if (!are_equal(last, keys)) {
    HTuple tuple = key_tuple(keys);
    if (may_have_repeats(keys)) {
      for (std::size_t i = 0; i < keys.size(); ++i)
        data->table.set(Access::element(tuple, static_cast<Hlong>(i)), std::move(values[i]));
      return dict;
    }
    last = std::move(tuple);
  }
  data->table.adopt(last, entries_of(values));
  return dict;
}

// Arrays of arrays mostly have as many elements as the one before; the keys are then the same as well.
HTuple JsonBuilder::numbered_dict(std::span<HTuple> values) {
  auto* data = new DictData;
  HTuple dict = Access::handle_tuple(Access::wrap(data));
  if (last_numbers_.Length() != static_cast<Hlong>(values.size())) {
    Buffer<Hlong> keys(values.size());
    std::iota(keys.begin(), keys.end(), Hlong{0});
    last_numbers_ = Access::integers(std::move(keys));
  }
  data->table.adopt(last_numbers_, entries_of(values));
  return dict;
}

bool JsonBuilder::begin() {
  if (open_.size() == static_cast<std::size_t>(limits::nesting))
    return fail_event("nested deeper than " + std::to_string(limits::nesting) + " levels");
  open_.push_back({values_.size(), keys_.size()});
  return true;
}

bool JsonBuilder::end_object() {
  const Level& level = open_.back();
  return end(object_dict(std::span(keys_).subspan(level.first_key), std::span(values_).subspan(level.first_value)),
             false);
}

bool JsonBuilder::end_array() {
  const Level level = open_.back();
  const auto values = std::span(values_).subspan(level.first_value);
  const bool as_dict = level.holds_array || options_.arrays_to_dicts || open_.size() == 1;
  return end(as_dict ? numbered_dict(values) : Access::elements(values), true);
}

bool JsonBuilder::end(HTuple value, bool is_array) {
  const Level level = open_.back();
  values_.erase(values_.begin() + static_cast<std::ptrdiff_t>(level.first_value), values_.end());
  keys_.resize(level.first_key);
  open_.pop_back();
  if (open_.empty()) {
    document_ = std::move(value);
    return true;
  }
  open_.back().holds_array |= is_array;
  values_.push_back(std::move(value));
  return true;
}

}  // namespace HalconCpp::detail
