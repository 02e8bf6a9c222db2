// JSON documents (RFC 8259) as dictionaries.
#ifndef HALCONCPP_DICTS_JSON_H
#define HALCONCPP_DICTS_JSON_H

#include <string_view>

#include "dicts/entry_table.h"

namespace HalconCpp::detail {

// The strings that stand for true, false and null unless the reading options say otherwise. Each is one StringData for
// the whole process, which no string of a document shares: the writer recognizes the word by its address.
struct JsonWords {
  const StringData* true_text;
  const StringData* false_text;
  const StringData* null_text;
};
const JsonWords& json_words();

struct JsonReading {
  HTuple true_value = Access::adopt_string(json_words().true_text);
  HTuple false_value = Access::adopt_string(json_words().false_text);
  HTuple null_value = Access::adopt_string(json_words().null_text);
  bool arrays_to_dicts = false;
};

// Reads a document. Objects become dictionaries with their keys in order; of equal keys the last one's value is kept at
// the place of the first. An array becomes a tuple, or a dictionary with the keys 0..n-1 when it is the document, holds
// an array, or `arrays_to_dicts` is set. U+0000 in a string becomes U+FFFD, since texts end at a NUL. Integers outside
// 64 bits become reals; a number beyond the reals fails, as does everything that is not JSON (RFC 8259), with line and
// column. `path` is only used to open the file.
HHandle read_json(std::string_view path, const JsonReading& options);

// Writes a document that reads back to the same tree. A tuple of one is written as its element; a dictionary with the
// keys 0..n-1 as an array, in which (but at the root) a tuple of one stays an array; other keys become strings. An
// entry that JSON cannot hold (an object, a handle that is not a dictionary, a number that is not finite, a key like
// "5" beside 5) fails, naming the key, or is left out as a whole when `lenient`.
void write_json(std::string_view path, const DictData& dict, bool lenient);

}  // namespace HalconCpp::detail

#endif
