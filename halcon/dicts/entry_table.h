// Keys in a stable order, each with a tuple or an iconic object: the content of a dictionary, and what the generic
// queries show of a model.
#ifndef HALCONCPP_DICTS_ENTRY_TABLE_H
#define HALCONCPP_DICTS_ENTRY_TABLE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "HalconCpp.h"
#include "core/access.h"
#include "core/handle_data.h"

namespace HalconCpp::detail {

struct Entry {
  HTuple tuple;    // unless the entry holds an object
  HObject object;  // set when the entry holds an object
  bool holds_object() const noexcept { return Access::data(object) != nullptr; }
};

// Reading from several threads is safe; writing is not. Keys of different types are different.
class EntryTable {
 public:
  EntryTable() noexcept = default;
  EntryTable(const EntryTable&) = delete;
  EntryTable& operator=(const EntryTable&) = delete;
  ~EntryTable() { drop_index(); }

  // Replaces the value of an equal key, which keeps its position, or adds the key at the end. Rejects a key that is not
  // one string, integer or real.
  void set(const HTuple& key, HTuple value);
  void set(const HTuple& key, HObject object);
  // Takes over valid keys, all different, and their entries.
  void adopt(HTuple keys, std::vector<Entry> entries);
  // Null when the key is not there. Asking for the keys in their order costs no search.
  const Entry* find(const HTuple& key) const noexcept;

  // Key i belongs to entry i.
  const HTuple& keys() const noexcept { return keys_; }
  std::span<const Entry> entries() const noexcept { return entries_; }
  std::size_t size() const noexcept { return entries_.size(); }
  void reserve(std::size_t count) { entries_.reserve(count); }

 private:
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  Entry& slot(const HTuple& key);
  std::size_t position(const HTuple& key) const noexcept;  // npos when absent
  bool is_same_text(std::size_t at, const HTuple& key) const noexcept;
  std::size_t search(const HTuple& key) const noexcept;
  std::size_t scan(const HTuple& key) const noexcept;
  const std::uint32_t* index() const noexcept;
  void index_last_key() noexcept;
  void drop_index() noexcept { delete[] index_.exchange(nullptr, std::memory_order_relaxed); }

  // One tuple, so that answering "keys" is a copy of it, and dictionaries with the same keys can share it.
  HTuple keys_;
  std::vector<Entry> entries_;
  // Made by the first search in a table that is not small. Element 0 is the number of buckets, a power of two; the
  // buckets follow, open addressing into entries_ (0: free, else 1 + position).
  mutable std::atomic<std::uint32_t*> index_{nullptr};
  mutable std::atomic<std::uint32_t> last_found_{0};
};

struct DictData final : HandleData {
  static constexpr const char* type = "dict";
  static constexpr const char* name = "a dictionary";
  const char* semantic_type() const noexcept override { return type; }
  const EntryTable* entries() const noexcept override { return &table; }
  EntryTable table;
};

}  // namespace HalconCpp::detail

#endif
