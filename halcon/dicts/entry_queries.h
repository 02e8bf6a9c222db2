// The queries that all handles with keys have in common. Errors name the key.
#ifndef HALCONCPP_DICTS_ENTRY_QUERIES_H
#define HALCONCPP_DICTS_ENTRY_QUERIES_H

#include <string>

#include "HalconCpp.h"
#include "dicts/entry_table.h"

namespace HalconCpp::detail {

// A key as messages show it: 'name', 5, 0.25.
std::string key_name(const HTuple& key);

// "keys" (with an empty key) or "key_data_type" ("object" or "tuple").
HTuple entry_param(const EntryTable& table, const HTuple& gen_name, const HTuple& key);
const HTuple& tuple_entry(const EntryTable& table, const HTuple& key);
const HObject& object_entry(const EntryTable& table, const HTuple& key);

}  // namespace HalconCpp::detail

#endif
