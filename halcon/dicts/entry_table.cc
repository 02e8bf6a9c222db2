#include "dicts/entry_table.h"

#include <bit>
#include <chrono>
#include <new>

#include "core/failure.h"
#include "dicts/text_hash.h"

namespace HalconCpp::detail {

namespace {

// Up to here comparing is as fast as an index.
constexpr std::size_t small_table = 8;
// Positions and bucket counts are 32 bits wide.
constexpr std::size_t most_entries = std::size_t{1} << 29;

HashSeed new_seed() noexcept {
  const auto now = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
  const auto place = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&now));
  return {now * 0xD6E8FEB86659FD93u ^ place, place * 0xA0761D6478BD642Fu ^ now};
}

bool is_key(const HTuple& key) {
  const TupleKind kind = Access::kind(key);
  return kind == TupleKind::String || kind == TupleKind::Integer || kind == TupleKind::Real;
}

std::uint64_t key_hash(const HTuple& key) noexcept {
  if (Access::kind(key) == TupleKind::String) return hash_of(Access::text(key));
  if (Access::kind(key) == TupleKind::Real) return hash_of(std::bit_cast<std::uint64_t>(Access::real(key)));
  return hash_of(static_cast<std::uint64_t>(Access::integer(key)));
}

// Reals by their bits, so that every real is equal to itself.
bool same_key(const HTuple& a, const HTuple& b) noexcept {
  if (Access::kind(a) != Access::kind(b)) return false;
  if (Access::kind(a) == TupleKind::String)
    return Access::string_data(a) == Access::string_data(b) || Access::text(a) == Access::text(b);
  if (Access::kind(a) == TupleKind::Real)
    return std::bit_cast<std::uint64_t>(Access::real(a)) == std::bit_cast<std::uint64_t>(Access::real(b));
  return Access::integer(a) == Access::integer(b);
}

void put_in_bucket(std::uint32_t* index, const HTuple& key, std::size_t position) noexcept {
  const std::size_t mask = index[0] - 1;
  std::size_t bucket = key_hash(key) & mask;
  while (index[1 + bucket] != 0) bucket = (bucket + 1) & mask;
  index[1 + bucket] = static_cast<std::uint32_t>(position + 1);
}

}  // namespace

const HashSeed hash_seed = new_seed();

void EntryTable::set(HTuple key, HTuple value) {
  Entry& entry = slot(std::move(key));
  entry.tuple = std::move(value);
  entry.object = HObject();
}

void EntryTable::set(HTuple key, HObject object) {
  Entry& entry = slot(std::move(key));
  entry.tuple = HTuple();
  entry.object = std::move(object);
}

void EntryTable::adopt(std::vector<Entry> entries) {
  if (entries.size() > most_entries) throw std::bad_alloc();
  drop_index();
  last_found_.store(0, std::memory_order_relaxed);
  entries_ = std::move(entries);
}

const Entry* EntryTable::find(const HTuple& key) const noexcept {
  const std::size_t at = position(key);
  return at == npos ? nullptr : &entries_[at];
}

Entry& EntryTable::slot(HTuple key) {
  if (!is_key(key)) refuse("a key is one string, one integer or one real");
  if (const std::size_t at = position(key); at != npos) return entries_[at];
  if (entries_.size() >= most_entries) throw std::bad_alloc();
  Entry& entry = entries_.emplace_back();
  entry.key = std::move(key);
  add_to_index(entries_.size() - 1);
  return entry;
}

// The key found last is often asked for again, and then the one after it.
std::size_t EntryTable::position(const HTuple& key) const noexcept {
  if (entries_.empty()) return npos;
  const std::size_t last = last_found_.load(std::memory_order_relaxed);
  if (same_key(entries_[last].key, key)) return last;
  std::size_t found = last + 1 < entries_.size() ? last + 1 : 0;
  if (!same_key(entries_[found].key, key)) found = search(key);
  if (found != npos) last_found_.store(static_cast<std::uint32_t>(found), std::memory_order_relaxed);
  return found;
}

std::size_t EntryTable::search(const HTuple& key) const noexcept {
  const std::uint32_t* buckets = entries_.size() > small_table && is_key(key) ? index() : nullptr;
  if (!buckets) return scan(key);
  const std::size_t mask = buckets[0] - 1;
  for (std::size_t bucket = key_hash(key) & mask; buckets[1 + bucket] != 0; bucket = (bucket + 1) & mask)
    if (const std::size_t at = buckets[1 + bucket] - 1; same_key(entries_[at].key, key)) return at;
  return npos;
}

std::size_t EntryTable::scan(const HTuple& key) const noexcept {
  for (std::size_t at = 0; at < entries_.size(); ++at)
    if (same_key(entries_[at].key, key)) return at;
  return npos;
}

// Two threads may both make the index; the first to publish it wins. Null when there is no memory for it.
const std::uint32_t* EntryTable::index() const noexcept {
  if (const std::uint32_t* made = index_.load(std::memory_order_acquire)) return made;
  const std::size_t buckets = std::bit_ceil(entries_.size() * 2 + 2);
  auto* made = new (std::nothrow) std::uint32_t[1 + buckets]();
  if (!made) return nullptr;
  made[0] = static_cast<std::uint32_t>(buckets);
  for (std::size_t at = 0; at < entries_.size(); ++at) put_in_bucket(made, entries_[at].key, at);
  std::uint32_t* expected = nullptr;
  if (index_.compare_exchange_strong(expected, made, std::memory_order_acq_rel)) return made;
  delete[] made;
  return expected;
}

// An index that is half full is dropped; the next search makes a larger one.
void EntryTable::add_to_index(std::size_t position) noexcept {
  std::uint32_t* buckets = index_.load(std::memory_order_relaxed);
  if (!buckets) return;
  if ((position + 1) * 2 > buckets[0]) return drop_index();
  put_in_bucket(buckets, entries_[position].key, position);
}

}  // namespace HalconCpp::detail
