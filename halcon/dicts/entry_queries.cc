#include "dicts/entry_queries.h"

#include <charconv>
#include <string_view>

#include "core/access.h"
#include "core/arguments.h"
#include "core/failure.h"
#include "core/string_data.h"

namespace HalconCpp::detail {

namespace {

template <class Number>
std::string digits_of(Number number) {
  char digits[32];
  return std::string(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

const Entry& entry_of(const EntryTable& table, const HTuple& key) {
  if (const Entry* entry = table.find(key)) return *entry;
  if (key.Length() != 1) fail("the key must be one string, one integer or one real");
  fail("there is no key " + key_name(key));
}

}  // namespace

std::string key_name(const HTuple& key) {
  switch (Access::kind(key)) {
    case TupleKind::String:
      return quoted(Access::text(key));
    case TupleKind::Integer:
      return digits_of(Access::integer(key));
    case TupleKind::Real:
      return digits_of(Access::real(key));
    default:
      return "that is not a key";
  }
}

HTuple entry_param(const EntryTable& table, const HTuple& gen_name, const HTuple& key) {
  static const StringData* const object_type = new_permanent_string("object");
  static const StringData* const tuple_type = new_permanent_string("tuple");
  const std::string_view name = text_argument(gen_name, "the name of the query");
  if (name == "key_data_type")
    return Access::adopt_string(entry_of(table, key).holds_object() ? object_type : tuple_type);
  if (name != "keys") fail("unknown query " + quoted(name) + "; accepted are 'keys' and 'key_data_type'");
  if (key.Length() != 0) fail("the query 'keys' takes an empty tuple as key");
  return table.keys();
}

const HTuple& tuple_entry(const EntryTable& table, const HTuple& key) {
  const Entry& entry = entry_of(table, key);
  if (entry.holds_object()) fail("the key " + key_name(key) + " holds an iconic object, not a tuple");
  return entry.tuple;
}

const HObject& object_entry(const EntryTable& table, const HTuple& key) {
  const Entry& entry = entry_of(table, key);
  if (!entry.holds_object()) fail("the key " + key_name(key) + " holds a tuple, not an iconic object");
  return entry.object;
}

}  // namespace HalconCpp::detail
