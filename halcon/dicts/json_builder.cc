#include "dicts/json_builder.h"

#include <algorithm>

#include "core/limits.h"

namespace HalconCpp::detail {

namespace {

bool has_repeats(std::span<const StringData* const> keys) {
  std::vector<const StringData*> sorted(keys.begin(), keys.end());
  std::sort(sorted.begin(), sorted.end());
  return std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end();
}

std::vector<Entry> entries_of(std::span<HTuple> values) {
  std::vector<Entry> entries(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) entries[i].tuple = std::move(values[i]);
  return entries;
}

}  // namespace

bool JsonBuilder::refuse_single_value() {
  return refuse_event("the document is a single value; a dictionary is read from an object or an array");
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
    return refuse_event("nested deeper than " + std::to_string(limits::nesting) + " levels");
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
  if (!list && !(level.may_repeat_keys && has_repeats(keys))) list = &names_.new_list(keys);
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
