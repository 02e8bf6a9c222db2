// JSON documents as dictionaries.
#ifndef HALCONCPP_DICTS_JSON_H
#define HALCONCPP_DICTS_JSON_H

#include <string_view>

#include "dicts/entry_table.h"

namespace HalconCpp::detail {

struct JsonReading {
  HTuple true_value, false_value, null_value;  // what stands for these words
  bool arrays_to_dicts = false;
};

// Objects become dictionaries with their keys in order; the last of equal keys wins at the first one's place. An array
// becomes a tuple, or a dictionary with the keys 0..n-1 when it is the document, holds an array, or arrays_to_dicts is
// set. U+0000 in a string becomes U+FFFD. Integers outside 64 bits become reals; a number beyond the reals is rejected,
// as is everything else that is no JSON, with line and column. The name is only used to open the file.
HHandle read_json(std::string_view path, const JsonReading& options);

// What was read from JSON reads back as the same tree. A tuple of one is written as its element; a dictionary with the
// keys 0..n-1 as an array, in which (but at the root) a tuple of one stays an array; other keys become strings. An
// entry that JSON cannot hold (an object, a handle that is no dictionary, a number that is not finite, a key like "5"
// beside 5) is rejected by its key, or left out as a whole when `lenient`.
void write_json(std::string_view path, const DictData& dict, bool lenient);

}  // namespace HalconCpp::detail

#endif
