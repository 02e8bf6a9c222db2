// Keys in a stable order, each with a tuple or an iconic object: the content of a dictionary, and what the generic
// queries show of a model.
#ifndef HALCONCPP_DICTS_ENTRY_TABLE_H
#define HALCONCPP_DICTS_ENTRY_TABLE_H

#include <cstddef>
#include <vector>

#include "core/access.h"
#include "core/handle_data.h"

namespace HalconCpp::detail {

struct Entry {
  HTuple key;      // one string, integer or real
  HTuple tuple;    // unless the entry holds an object
  HObject object;  // set when the entry holds an object
  bool holds_object() const noexcept { return Access::data(object) != nullptr; }
};

class EntryTable {
 public:
  // Replaces the value of an equal key at its place, or adds the key at the end. Refuses a key that is not one string,
  // integer or real.
  void set(HTuple key, HTuple value);
  void set(HTuple key, HObject object);
  // Null when the key is not there.
  const Entry* find(const HTuple& key) const noexcept;
  std::span<const Entry> entries() const noexcept { return entries_; }
  void reserve(std::size_t count);

 private:
  Entry& slot(HTuple key);
  std::size_t position(const HTuple& key) const noexcept;  // npos when absent
  void index_new_entry();

  std::vector<Entry> entries_;
  std::vector<std::uint32_t> buckets_;  // open addressing into entries_ (0: free, else 1 + position); empty while small
};

struct DictData final : HandleData {
  const char* semantic_type() const noexcept override { return "dict"; }
  const EntryTable* entries() const noexcept override { return &table; }
  EntryTable table;
};

}  // namespace HalconCpp::detail

#endif
