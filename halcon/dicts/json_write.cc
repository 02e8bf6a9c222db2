#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "core/access.h"
#include "core/failure.h"
#include "core/file.h"
#include "core/handle_data.h"
#include "core/hash.h"
#include "core/limits.h"
#include "core/string_data.h"
#include "dicts/entry_queries.h"
#include "dicts/entry_table.h"
#include "dicts/json.h"

namespace HalconCpp::detail {

namespace {

constexpr std::size_t flush_size = std::size_t{1} << 16;
constexpr std::size_t indent_width = 2;
// Deeper levels are not indented further, so that the output stays in proportion to the data.
constexpr std::size_t deepest_indent = 32;

std::string unfit_handle(const HandleData* data) {
  if (!data) return "an empty handle";
  return is_a<DictData>(*data) ? std::string() : "a handle of type " + quoted(data->semantic_type());
}

// What JSON cannot hold; empty when it can hold all.
std::string unfit_part(const Entry& entry) {
  if (entry.holds_object()) return "an iconic object";
  for (Hlong i = 0; i < entry.tuple.Length(); ++i) {
    const TupleKind kind = Access::element_kind(entry.tuple, i);
    if (kind != TupleKind::Real && kind != TupleKind::Handle) continue;
    const HTuple element = Access::element(entry.tuple, i);
    if (kind == TupleKind::Real && !std::isfinite(Access::real(element))) return "a number that is not finite";
    if (kind == TupleKind::Real) continue;
    if (std::string part = unfit_handle(Access::handle_data(element)); !part.empty()) return part;
  }
  return {};
}

// Whether the keys are 0..n-1 and JSON can hold every entry, so that none has to be left out of an array.
bool is_array(const EntryTable& table) {
  for (std::size_t i = 0; i < table.size(); ++i) {
    const HTuple key = Access::element(table.keys(), static_cast<Hlong>(i));
    if (Access::kind(key) != TupleKind::Integer || Access::integer(key) != static_cast<Hlong>(i)) return false;
  }
  for (const Entry& entry : table.entries())
    if (!unfit_part(entry).empty()) return false;
  return table.size() > 0;
}

// Whether the string was read from true, false or null.
bool is_word(const HTuple& element) {
  const StringData* const text = Access::string_data(element);
  const JsonWords& words = json_words();
  return text == words.true_text || text == words.false_text || text == words.null_text;
}

bool is_dict(const HTuple& element) { return Access::kind(element) == TupleKind::Handle; }

bool holds_dicts(const HTuple& tuple) {
  for (Hlong i = 0; i < tuple.Length(); ++i)
    if (Access::element_kind(tuple, i) == TupleKind::Handle) return true;
  return false;
}

std::string name_of(const HTuple& key) {
  return Access::kind(key) == TupleKind::String ? std::string(Access::text(key)) : key_name(key);
}

// The entries whose key has the text of an earlier one, as 5 and "5" have. Keys of one kind never do.
std::unordered_set<std::size_t> repeated_names(const HTuple& keys) {
  std::unordered_set<std::size_t> repeated;
  if (Access::kind(keys) != TupleKind::Array || Access::array(keys).kind != ArrayKind::Mixed) return repeated;
  std::unordered_set<std::string, TextHash> names;
  for (Hlong i = 0; i < keys.Length(); ++i)
    if (!names.insert(name_of(Access::element(keys, i))).second) repeated.insert(static_cast<std::size_t>(i));
  return repeated;
}

class JsonWriter {
 public:
  JsonWriter(OutputFile& file, bool lenient) noexcept : file_(file), lenient_(lenient) {}
  void write(const DictData& document);

 private:
  // An object, an array or a tuple that holds dictionaries, of which `next` parts have been looked at.
  struct Level {
    const EntryTable* table;  // null for a tuple
    const HTuple* tuple;
    char closing;
    Hlong next = 0;
    bool is_empty = true;
    std::unordered_set<std::size_t> repeated_names = {};  // entries whose key is written like an earlier one
  };

  void step();
  void entry(const EntryTable& table, std::size_t at);
  void tuple_value(const HTuple& tuple, bool stays_array);
  void element(const HTuple& element);
  void dict(const HandleData& data);
  void open(char bracket);
  void begin_part();
  void end_level();
  void new_line();
  void text(std::string_view text);
  template <class Number>
  void digits(Number number);
  void real(double value);
  void flush_when(std::size_t size);

  OutputFile& file_;
  const bool lenient_;
  std::string out_;
  std::vector<Level> open_;
  std::unordered_set<const HandleData*> written_;
  std::size_t repeated_ = 0;
};

void JsonWriter::write(const DictData& document) {
  dict(document);
  while (!open_.empty()) step();
  out_ += '\n';
  flush_when(1);
}

void JsonWriter::step() {
  Level& level = open_.back();
  const Hlong count = level.table ? static_cast<Hlong>(level.table->size()) : level.tuple->Length();
  if (level.next == count) return end_level();
  const Hlong at = level.next++;
  if (level.table) return entry(*level.table, static_cast<std::size_t>(at));
  const HTuple part = Access::element(*level.tuple, at);
  begin_part();
  element(part);
}

void JsonWriter::entry(const EntryTable& table, std::size_t at) {
  const Entry& entry = table.entries()[at];
  const HTuple key = Access::element(table.keys(), static_cast<Hlong>(at));
  if (const std::string part = unfit_part(entry); !part.empty()) {
    if (lenient_) return;
    fail("the key " + key_name(key) + " holds " + part + ", which JSON cannot hold");
  }
  if (open_.back().repeated_names.contains(at)) {
    if (lenient_) return;
    fail("the key " + key_name(key) + " is there as a number and as a text, which are the same in JSON");
  }
  begin_part();
  const bool in_array = open_.back().closing == ']';
  if (!in_array) {
    text(name_of(key));
    out_ += ": ";
  }
  tuple_value(entry.tuple, in_array && open_.size() > 1);
}

// A tuple of one is its element. Inside an array that is not the document it stays an array, unless its element
// becomes one: what is read back then has the same arrays in arrays.
void JsonWriter::tuple_value(const HTuple& tuple, bool stays_array) {
  if (tuple.Length() == 1) {
    if (is_dict(tuple)) stays_array &= !is_array(*Access::handle_data(tuple)->entries());
    if (!stays_array) return element(tuple);
  }
  open('[');
  if (holds_dicts(tuple)) {
    open_.push_back({nullptr, &tuple, ']'});
    return;
  }
  for (Hlong i = 0; i < tuple.Length(); ++i) {
    if (i > 0) out_ += ", ";
    element(Access::element(tuple, i));
  }
  out_ += ']';
}

void JsonWriter::element(const HTuple& element) {
  flush_when(flush_size);
  switch (Access::kind(element)) {
    case TupleKind::Integer:
      return digits(Access::integer(element));
    case TupleKind::Real:
      return real(Access::real(element));
    case TupleKind::String:
      return is_word(element) ? void(out_ += Access::text(element)) : text(Access::text(element));
    default:
      return dict(*Access::handle_data(element));
  }
}

void JsonWriter::dict(const HandleData& data) {
  if (!written_.insert(&data).second && ++repeated_ > limits::repeated_dicts)
    fail("its dictionaries refer to one another more than " + std::to_string(limits::repeated_dicts) + " times");
  const EntryTable& table = *data.entries();
  const bool array = is_array(table);
  open(array ? '[' : '{');
  open_.push_back({&table, nullptr, array ? ']' : '}'});
  if (!array) open_.back().repeated_names = repeated_names(table.keys());
}

void JsonWriter::open(char bracket) {
  if (open_.size() == static_cast<std::size_t>(limits::nesting))
    fail("nested deeper than " + std::to_string(limits::nesting) + " levels");
  out_ += bracket;
}

void JsonWriter::begin_part() {
  if (!open_.back().is_empty) out_ += ',';
  open_.back().is_empty = false;
  new_line();
}

void JsonWriter::end_level() {
  const Level level = std::move(open_.back());
  open_.pop_back();
  if (!level.is_empty) new_line();
  out_ += level.closing;
}

void JsonWriter::new_line() {
  out_ += '\n';
  out_.append(std::min(open_.size(), deepest_indent) * indent_width, ' ');
}

void JsonWriter::text(std::string_view text) {
  static constexpr char hex[] = "0123456789abcdef";
  out_ += '"';
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      out_ += '\\';
      out_ += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      out_ += "\\u00";
      out_ += hex[c >> 4];
      out_ += hex[c & 15];
    } else {
      out_ += c;
    }
  }
  out_ += '"';
}

template <class Number>
void JsonWriter::digits(Number number) {
  char buffer[32];
  out_.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, number).ptr);
}

// The shortest text that reads back equal, and as a real.
void JsonWriter::real(double value) {
  const std::size_t begin = out_.size();
  digits(value);
  if (out_.find_first_of(".e", begin) == std::string::npos) out_ += ".0";
}

void JsonWriter::flush_when(std::size_t size) {
  if (out_.size() < size) return;
  file_.write(out_);
  out_.clear();
}

}  // namespace

void write_json(std::string_view path, const DictData& dict, bool lenient) {
  OutputFile file(path);
  JsonWriter(file, lenient).write(dict);
  file.commit();
}

}  // namespace HalconCpp::detail
