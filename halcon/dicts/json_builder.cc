#include "dicts/json_builder.h"

#include <algorithm>
#include <bit>
#include <numeric>

#include "core/hash.h"
#include "core/limits.h"
#include "core/memory_limit.h"

namespace HalconCpp::detail {

namespace {

// Whether two of the numbers are equal. Many of them are first dealt out into groups that fit in a cache.
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

// By their texts, or by their places where equal texts have one place. Different texts may pass for equal ones.
bool may_have_repeats(std::span<const StringData* const> keys, bool by_place) {
  std::vector<std::uint64_t> numbers(keys.size());
  std::transform(keys.begin(), keys.end(), numbers.begin(), [&](const StringData* key) {
    return by_place ? reinterpret_cast<std::uintptr_t>(key) / alignof(StringData) : hash_of(text_of(key));
  });
  return has_repeats(numbers);
}

std::vector<Entry> entries_of(std::span<HTuple> values) {
  charge_memory(sizeof(DictData) + values.size() * sizeof(Entry));
  std::vector<Entry> entries(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) entries[i].tuple = std::move(values[i]);
  return entries;
}

}  // namespace

bool JsonBuilder::reject_single_value() {
  return fail_event("the document is a single value; a dictionary is read from an object or an array");
}

bool JsonBuilder::add_key(std::string_view text) {
  Level& level = open_.back();
  bool is_new = true;
  keys_.push_back(names_.key(text, level.number, is_new));
  if (!is_new) level.may_repeat_keys = true;
  return true;
}

bool JsonBuilder::begin() {
  if (open_.size() == static_cast<std::size_t>(limits::nesting))
    return fail_event("nested deeper than " + std::to_string(limits::nesting) + " levels");
  open_.push_back({values_.size(), keys_.size(), ++levels_begun_});
  return true;
}

bool JsonBuilder::end_object() {
  const Level level = open_.back();
  return end(object_dict(level, std::span(values_).subspan(level.first_value)), false);
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

// Objects with the same keys share them, as a list that is known to have no repeats.
HTuple JsonBuilder::object_dict(const Level& level, std::span<HTuple> values) {
  auto* data = new DictData;
  HTuple dict = Access::handle_tuple(Access::wrap(data));
  const auto keys = std::span<const StringData* const>(keys_).subspan(level.first_key);
  if (keys.empty()) return dict;
  const HTuple* list = names_.known_list(keys);
  if (!list && !(level.may_repeat_keys && may_have_repeats(keys, names_.keeps_all()))) list = &names_.new_list(keys);
  if (list) {
    data->table.adopt(*list, entries_of(values));
    return dict;
  }
  for (std::size_t i = 0; i < keys.size(); ++i) {
    retain(keys[i]);
    data->table.set(Access::adopt_string(keys[i]), std::move(values[i]));
  }
  return dict;
}

HTuple JsonBuilder::numbered_dict(std::span<HTuple> values) {
  auto* data = new DictData;
  HTuple dict = Access::handle_tuple(Access::wrap(data));
  data->table.adopt(names_.numbers(values.size()), entries_of(values));
  return dict;
}

}  // namespace HalconCpp::detail
