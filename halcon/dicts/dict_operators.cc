// Dictionaries in memory, and the queries that work on every handle with keys.
#include <string>
#include <utility>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "core/access.h"
#include "core/arguments.h"
#include "core/failure.h"
#include "core/handle_data.h"
#include "dicts/entry_queries.h"
#include "dicts/entry_table.h"

namespace HalconCpp {

using namespace detail;

namespace {

const EntryTable& entries_of(const HTuple& handle) {
  const HandleData& data = handle_argument(handle, "the handle");
  if (const EntryTable* table = data.entries()) return *table;
  fail("a handle of type " + quoted(data.semantic_type()) + " has no keys");
}

EntryTable& dict_entries(HandleData* data) {
  if (!data) fail("the dictionary is an empty handle");
  return handle_cast<DictData>(*data).table;
}

const EntryTable& entries_of(const HDict& dict) { return dict_entries(Access::data(dict)); }

EntryTable& dict_argument(const HTuple& dict) { return dict_entries(&handle_argument(dict, "the dictionary")); }

}  // namespace

HDict::HDict(const HHandle& handle) : HHandle(handle) { pass_gate("HDict"); }

HTuple HDict::GetDictParam(const HTuple& gen_name, const HTuple& key) const {
  return operate("GetDictParam", [&] {
    HTuple answer = entry_param(entries_of(*this), gen_name, key);
    offer_answer("GetDictParam", answer);
    return answer;
  });
}

HTuple HDict::GetDictTuple(const HTuple& key) const {
  return operate("GetDictTuple", [&] { return tuple_entry(entries_of(*this), key); });
}

HObject HDict::GetDictObject(const HTuple& key) const {
  return operate("GetDictObject", [&] { return object_entry(entries_of(*this), key); });
}

void GetHandleParam(const HTuple& handle, const HTuple& gen_name, const HTuple& key, HTuple* value) {
  operate("GetHandleParam", [&] {
    HTuple answer = entry_param(entries_of(handle), gen_name, key);
    offer_answer("GetHandleParam", answer);
    *value = std::move(answer);
  });
}

void GetHandleTuple(const HTuple& handle, const HTuple& key, HTuple* tuple) {
  operate("GetHandleTuple", [&] { *tuple = tuple_entry(entries_of(handle), key); });
}

void GetHandleObject(HObject* object, const HTuple& handle, const HTuple& key) {
  operate("GetHandleObject", [&] { *object = object_entry(entries_of(handle), key); });
}

void CreateDict(HTuple* dict) {
  operate("CreateDict", [&] { *dict = Access::handle_tuple(Access::wrap(new DictData)); });
}

void SetDictTuple(const HTuple& dict, const HTuple& key, const HTuple& tuple) {
  operate("SetDictTuple", [&] { dict_argument(dict).set(key, tuple); });
}

void SetDictObject(const HObject& object, const HTuple& dict, const HTuple& key) {
  operate("SetDictObject", [&] {
    if (!Access::data(object)) fail("the object is not set");
    dict_argument(dict).set(key, object);
  });
}

}  // namespace HalconCpp
