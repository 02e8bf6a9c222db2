// Dictionaries in memory: made, filled and queried.
#include "HalconCreate.h"
#include "core/failure.h"
#include "dicts/entry_queries.h"

namespace HalconCpp {

using detail::Access;

namespace {

const detail::EntryTable& table_of(const HDict& dict) { return detail::require_dict(Access::data(dict)).table; }

detail::EntryTable& table_of(const HTuple& dict) {
  return detail::require_dict(&detail::handle_argument(dict, "the dictionary")).table;
}

}  // namespace

HDict::HDict(const HHandle& handle) : HHandle(handle) { detail::pass_gate("HDict"); }

HTuple HDict::GetDictParam(const HTuple& gen_name, const HTuple& key) const {
  return detail::operate("GetDictParam", [&] {
    HTuple answer = detail::entry_param(table_of(*this), gen_name, key);
    detail::offer_answer("GetDictParam", answer);
    return answer;
  });
}

HTuple HDict::GetDictTuple(const HTuple& key) const {
  return detail::operate("GetDictTuple", [&] { return detail::tuple_entry(table_of(*this), key); });
}

HObject HDict::GetDictObject(const HTuple& key) const {
  return detail::operate("GetDictObject", [&] { return detail::object_entry(table_of(*this), key); });
}

void CreateDict(HTuple* dict) {
  detail::operate("CreateDict", [&] { *dict = Access::handle_tuple(Access::wrap(new detail::DictData)); });
}

void SetDictTuple(const HTuple& dict, const HTuple& key, const HTuple& tuple) {
  detail::operate("SetDictTuple", [&] { table_of(dict).set(key, tuple); });
}

void SetDictObject(const HObject& object, const HTuple& dict, const HTuple& key) {
  detail::operate("SetDictObject", [&] {
    if (!Access::data(object)) detail::fail("the object is not set");
    table_of(dict).set(key, object);
  });
}

}  // namespace HalconCpp
