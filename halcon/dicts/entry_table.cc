#include "dicts/entry_table.h"

#include <bit>
#include <cstdint>
#include <new>
#include <string_view>
#include <utility>

#include "core/failure.h"
#include "core/hash.h"
#include "core/string_data.h"

namespace HalconCpp::detail {

namespace {

// Up to here comparing is as fast as an index.
constexpr std::size_t small_table = 8;
// Positions and bucket counts are 32 bits wide.
constexpr std::size_t max_entries = std::size_t{1} << 29;

// A key to compare and hash, without a reference to it. Reals are compared by their bits, so that a NaN equals itself.
struct KeyView {
  TupleKind kind;
  std::uint64_t bits;
  const StringData* text;

  bool valid() const noexcept {
    return kind == TupleKind::String || kind == TupleKind::Integer || kind == TupleKind::Real;
  }
  bool operator==(const KeyView& other) const noexcept {
    if (kind != other.kind || bits != other.bits) return false;
    return text == other.text || text_of(text) == text_of(other.text);
  }
  std::uint64_t hash() const noexcept { return kind == TupleKind::String ? hash_of(text_of(text)) : hash_of(bits); }
};

KeyView view_of(const HTuple& key) noexcept {
  switch (Access::kind(key)) {
    case TupleKind::String:
      return {TupleKind::String, 0, Access::string_data(key)};
    case TupleKind::Integer:
      return {TupleKind::Integer, static_cast<std::uint64_t>(Access::integer(key)), nullptr};
    case TupleKind::Real:
      return {TupleKind::Real, std::bit_cast<std::uint64_t>(Access::real(key)), nullptr};
    default:
      return {TupleKind::Empty, 0, nullptr};
  }
}

KeyView view_of(const HTuple& keys, std::size_t at) noexcept {
  if (Access::kind(keys) != TupleKind::Array) return view_of(keys);
  const ArrayData& array = Access::array(keys);
  if (array.kind == ArrayKind::Strings)
    return {TupleKind::String, 0, static_cast<const StringData* const*>(array.elements)[at]};
  return view_of(Access::element(keys, static_cast<Hlong>(at)));  // the array goes on holding its text
}

void put_in_bucket(std::uint32_t* index, const KeyView& key, std::size_t position) noexcept {
  const std::size_t mask = index[0] - 1;
  std::size_t bucket = key.hash() & mask;
  while (index[1 + bucket] != 0) bucket = (bucket + 1) & mask;
  index[1 + bucket] = static_cast<std::uint32_t>(position + 1);
}

}  // namespace

void EntryTable::set(const HTuple& key, HTuple value) {
  Entry& entry = slot(key);
  entry.tuple = std::move(value);
  entry.object = HObject();
}

void EntryTable::set(const HTuple& key, HObject object) {
  Entry& entry = slot(key);
  entry.tuple = HTuple();
  entry.object = std::move(object);
}

void EntryTable::adopt(HTuple keys, std::vector<Entry> entries) {
  if (entries.size() > max_entries) throw std::bad_alloc();
  drop_index();
  last_found_.store(0, std::memory_order_relaxed);
  keys_ = std::move(keys);
  entries_ = std::move(entries);
}

const Entry* EntryTable::find(const HTuple& key) const noexcept {
  const std::size_t at = position(key);
  return at == npos ? nullptr : &entries_[at];
}

Entry& EntryTable::slot(const HTuple& key) {
  if (!view_of(key).valid()) fail("a key is one string, one integer or one real");
  if (const std::size_t at = position(key); at != npos) return entries_[at];
  if (entries_.size() >= max_entries) throw std::bad_alloc();
  Entry& entry = entries_.emplace_back();
  try {
    keys_.Append(key);
  } catch (...) {
    entries_.pop_back();
    throw;
  }
  index_last_key();
  return entry;
}

// Whether `key` shares its text with key i, as it does when the caller took it from the list of keys.
bool EntryTable::is_same_text(std::size_t at, const HTuple& key) const noexcept {
  if (Access::kind(key) != TupleKind::String || Access::kind(keys_) != TupleKind::Array) return false;
  const ArrayData& array = Access::array(keys_);
  return array.kind == ArrayKind::Strings &&
         static_cast<const StringData* const*>(array.elements)[at] == Access::string_data(key);
}

// The key found last is often asked for again, and then the one after it.
std::size_t EntryTable::position(const HTuple& key) const noexcept {
  if (entries_.empty()) return npos;
  const std::size_t last = last_found_.load(std::memory_order_relaxed);
  if (is_same_text(last, key)) return last;
  std::size_t found = last + 1 < entries_.size() ? last + 1 : 0;
  if (!is_same_text(found, key)) {
    const KeyView wanted = view_of(key);
    if (view_of(keys_, last) == wanted) return last;
    if (!(view_of(keys_, found) == wanted)) found = search(key);
  }
  if (found != npos) last_found_.store(static_cast<std::uint32_t>(found), std::memory_order_relaxed);
  return found;
}

std::size_t EntryTable::search(const HTuple& key) const noexcept {
  const std::uint32_t* buckets = entries_.size() > small_table ? index() : nullptr;
  if (!buckets) return scan(key);
  const KeyView wanted = view_of(key);
  const std::size_t mask = buckets[0] - 1;
  for (std::size_t bucket = wanted.hash() & mask; buckets[1 + bucket] != 0; bucket = (bucket + 1) & mask)
    if (const std::size_t at = buckets[1 + bucket] - 1; view_of(keys_, at) == wanted) return at;
  return npos;
}

std::size_t EntryTable::scan(const HTuple& key) const noexcept {
  const KeyView wanted = view_of(key);
  for (std::size_t at = 0; at < entries_.size(); ++at)
    if (view_of(keys_, at) == wanted) return at;
  return npos;
}

// Two threads may both make the index; the first to publish it wins. Null when there is no memory for it.
const std::uint32_t* EntryTable::index() const noexcept {
  if (const std::uint32_t* made = index_.load(std::memory_order_acquire)) return made;
  const std::size_t buckets = std::bit_ceil(entries_.size() * 2 + 2);
  auto* made = new (std::nothrow) std::uint32_t[1 + buckets]();
  if (!made) return nullptr;
  made[0] = static_cast<std::uint32_t>(buckets);
  for (std::size_t at = 0; at < entries_.size(); ++at) put_in_bucket(made, view_of(keys_, at), at);
  std::uint32_t* expected = nullptr;
  if (index_.compare_exchange_strong(expected, made, std::memory_order_acq_rel)) return made;
  delete[] made;
  return expected;
}

// An index that is half full is dropped; the next search makes a larger one.
void EntryTable::index_last_key() noexcept {
  std::uint32_t* buckets = index_.load(std::memory_order_relaxed);
  if (!buckets) return;
  if (entries_.size() * 2 > buckets[0]) return drop_index();
  put_in_bucket(buckets, view_of(keys_, entries_.size() - 1), entries_.size() - 1);
}

}  // namespace HalconCpp::detail
