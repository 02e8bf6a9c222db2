// ReadDict and WriteDict: JSON and the built-in container.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <string_view>

#include "HalconCpp.h"
#include "container/container.h"
#include "container/format.h"
#include "container/unknown_file.h"
#include "core/access.h"
#include "core/arguments.h"
#include "core/failure.h"
#include "core/file.h"
#include "core/handle_data.h"
#include "dicts/entry_table.h"
#include "dicts/json.h"

namespace HalconCpp {

using namespace detail;

namespace {

void require_equal_counts(const HTuple& names, const HTuple& values) {
  if (names.Length() != values.Length())
    fail(std::to_string(names.Length()) + " option names, but " + std::to_string(values.Length()) + " values");
}

// "true" and "false", or the two texts given.
bool choice(std::string_view name, const HTuple& value, std::string_view yes, std::string_view no) {
  const bool is_text = Access::kind(value) == TupleKind::String;
  if (is_text && Access::text(value) == yes) return true;
  if (is_text && Access::text(value) == no) return false;
  fail("the option " + quoted(name) + " takes " + quoted(yes) + " or " + quoted(no));
}

void set_reading_option(JsonReading& options, const HTuple& option, const HTuple& value) {
  const std::string_view name = text_argument(option, "the name of an option");
  if (name == "convert_json_arrays_to") {
    options.arrays_to_dicts = choice(name, value, "dict", "tuple");
    return;
  }
  HTuple* const word = name == "json_value_true"    ? &options.true_value
                       : name == "json_value_false" ? &options.false_value
                       : name == "json_value_null"  ? &options.null_value
                                                    : nullptr;
  if (!word)
    fail("unknown option " + quoted(name) +
         "; accepted are 'json_value_true', 'json_value_false', 'json_value_null' and "
         "'convert_json_arrays_to'");
  if (Access::kind(value) == TupleKind::Handle)
    fail("the option " + quoted(name) + " takes a string, an integer or a real");
  *word = value;
}

JsonReading reading_options(const HTuple& names, const HTuple& values) {
  require_equal_counts(names, values);
  JsonReading options;
  for (Hlong i = 0; i < names.Length(); ++i)
    set_reading_option(options, Access::element(names, i), Access::element(values, i));
  return options;
}

bool lenient_writing(const HTuple& names, const HTuple& values) {
  require_equal_counts(names, values);
  bool lenient = false;
  for (Hlong i = 0; i < names.Length(); ++i) {
    const HTuple option = Access::element(names, i);
    const std::string_view name = text_argument(option, "the name of an option");
    if (name != "raise_error_if_content_not_serializable")
      fail("unknown option " + quoted(name) + "; accepted is 'raise_error_if_content_not_serializable'");
    lenient = !choice(name, Access::element(values, i), "true", "false");
  }
  return lenient;
}

// Whether the first character that is not white space begins an object or an array.
bool begins_like_json(std::string_view path) {
  InputFile file(path);
  char bytes[4096];
  const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(file.size(), sizeof bytes));
  file.read(bytes, count);
  std::string_view text(bytes, count);
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  const auto first = text.find_first_not_of(" \t\r\n");
  return first != std::string_view::npos && (text[first] == '{' || text[first] == '[');
}

HHandle read_dict(std::string_view path, const JsonReading& options) {
  if (is_container(path)) return read_container_handle(path, container::HandleKind::Dict);
  if (extension_of(path) == "json" || begins_like_json(path)) return read_json(path, options);
  reject_file(path, dict_file);
}

void write_dict(std::string_view path, const DictData& dict, bool lenient) {
  if (extension_of(path) == "json") return write_json(path, dict, lenient);
  write_container_handle(path, dict);
}

}  // namespace

void HDict::ReadDict(const HTuple& file, const HTuple& gen_names, const HTuple& gen_values) {
  operate("ReadDict", [&] {
    const std::string_view path = text_argument(file, "the file name");
    const JsonReading options = reading_options(gen_names, gen_values);
    Access::replace(*this, in_file(path, [&] { return read_dict(path, options); }));
  });
}

void HDict::WriteDict(const HTuple& file, const HTuple& gen_names, const HTuple& gen_values) const {
  operate("WriteDict", [&] {
    const std::string_view path = text_argument(file, "the file name");
    const bool lenient = lenient_writing(gen_names, gen_values);
    HandleData* const data = Access::data(*this);
    if (!data) fail("the dictionary is an empty handle");
    const DictData& dict = handle_cast<DictData>(*data);
    in_file(path, [&] { write_dict(path, dict, lenient); });
  });
}

}  // namespace HalconCpp
