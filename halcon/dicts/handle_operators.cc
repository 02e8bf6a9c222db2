// The queries that work on every handle with keys.
#include "core/failure.h"
#include "dicts/entry_queries.h"

namespace HalconCpp {

namespace {

const detail::EntryTable& table_of(const HTuple& handle) {
  const detail::HandleData& data = detail::handle_argument(handle, "the handle");
  if (const detail::EntryTable* table = data.entries()) return *table;
  detail::fail("a handle of type " + detail::quoted(data.semantic_type()) + " has no keys");
}

}  // namespace

void GetHandleParam(const HTuple& handle, const HTuple& gen_name, const HTuple& key, HTuple* value) {
  detail::operate("GetHandleParam", [&] {
    HTuple answer = detail::entry_param(table_of(handle), gen_name, key);
    detail::offer_answer("GetHandleParam", answer);
    *value = std::move(answer);
  });
}

void GetHandleTuple(const HTuple& handle, const HTuple& key, HTuple* tuple) {
  detail::operate("GetHandleTuple", [&] { *tuple = detail::tuple_entry(table_of(handle), key); });
}

void GetHandleObject(HObject* object, const HTuple& handle, const HTuple& key) {
  detail::operate("GetHandleObject", [&] { *object = detail::object_entry(table_of(handle), key); });
}

}  // namespace HalconCpp
