#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <forward_list>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "HalconCpp.h"
#include "core/access.h"
#include "core/buffer.h"
#include "core/failure.h"
#include "core/file.h"
#include "core/string_data.h"
#include "dicts/json.h"
#include "dicts/json_builder.h"
#include "unicode.h"

// Sizes of 64 bits, and the vector instructions that every processor of this family has.
#define RAPIDJSON_NO_SIZETYPEDEFINE
namespace rapidjson {
using SizeType = std::size_t;
}
#define RAPIDJSON_ASSERT(condition) static_cast<void>(0)
#if defined(__SSE2__)
#define RAPIDJSON_SSE2
#endif
#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

namespace HalconCpp::detail {

namespace {

// The parser reads in blocks, so a few bytes beyond the end have to be there.
constexpr std::size_t padding = 32;
// Numbers come as text: the parser's own exact conversion reads outside its tables for numbers near zero.
constexpr unsigned parse_flags =
    rapidjson::kParseInsituFlag | rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag;

// Why a document is rejected, and at which byte.
struct Fault {
  std::size_t offset;
  std::string reason;
};

// The parser's own small stack. Running out of memory must not go unnoticed.
struct ThrowingAllocator : rapidjson::CrtAllocator {
  void* Realloc(void* old, std::size_t old_size, std::size_t size) {
    void* block = rapidjson::CrtAllocator::Realloc(old, old_size, size);
    if (!block && size != 0) throw std::bad_alloc();
    return block;
  }
};

// The parser's events, under the names it requires. The base class has those for binary numbers, which do not occur.
class Events : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Events> {
 public:
  Events(JsonBuilder& builder, bool has_escapes) noexcept : builder_(builder), has_escapes_(has_escapes) {}

  bool Null() { return builder_.add_null(); }
  bool Bool(bool value) { return value ? builder_.add_true() : builder_.add_false(); }
  bool RawNumber(const char* text, std::size_t length, bool) { return add_number({text, length}); }
  bool String(const char* text, std::size_t length, bool) {
    return has_escapes_ ? add_unescaped({text, length}, false) : builder_.add_text({text, length});
  }
  bool Key(const char* text, std::size_t length, bool) {
    return has_escapes_ ? add_unescaped({text, length}, true) : builder_.add_key({text, length});
  }
  bool StartObject() { return builder_.begin(); }
  bool StartArray() { return builder_.begin(); }
  bool EndObject(std::size_t) { return builder_.end_object(); }
  bool EndArray(std::size_t) { return builder_.end_array(); }

 private:
  bool add_number(std::string_view number);
  bool add_unescaped(std::string_view text, bool is_key);

  JsonBuilder& builder_;
  bool has_escapes_;
  std::forward_list<std::string> keys_;  // that differ from the text of the document
};

constexpr const char* too_large = "the number is too large for a real";

// Whether a number that no real can hold is too near to zero rather than too far from it.
bool is_tiny(std::string_view number) noexcept {
  const std::size_t mark = std::min(number.find_first_of("eE"), number.size());
  const std::string_view digits = number.substr(0, mark);
  std::string_view power = number.substr(std::min(mark + 1, number.size()));
  if (power.starts_with('+')) power.remove_prefix(1);
  Hlong exponent = 0;
  if (std::from_chars(power.data(), power.data() + power.size(), exponent).ec == std::errc::result_out_of_range)
    return power.starts_with('-');
  const auto point = static_cast<Hlong>(std::min(digits.find('.'), digits.size()));
  return exponent + point < static_cast<Hlong>(digits.find_first_of("123456789"));
}

// The grammar has been checked: an integer that fits, or a real.
bool Events::add_number(std::string_view number) {
  const char* const end = number.data() + number.size();
  Hlong integer = 0;
  if (const auto read = std::from_chars(number.data(), end, integer); read.ec == std::errc() && read.ptr == end)
    return builder_.add(integer);
  double real = 0;
  if (std::from_chars(number.data(), end, real).ec == std::errc()) return builder_.add(real);
  if (is_tiny(number)) return builder_.add(number.starts_with('-') ? -0.0 : 0.0);
  return builder_.fail_event(too_large);
}

// Escapes can produce what the checked document cannot contain: U+0000 and halves of surrogate pairs.
bool Events::add_unescaped(std::string_view text, bool is_key) {
  if (text.find('\xED') != std::string_view::npos && !unicode::is_utf8(text))
    return builder_.fail_event("an escape is one half of a surrogate pair without the other");
  if (text.find('\0') == std::string_view::npos) return is_key ? builder_.add_key(text) : builder_.add_text(text);
  std::string replaced;
  for (const char c : text)
    if (c != '\0')
      replaced += c;
    else
      unicode::append_utf8(replaced, unicode::replacement);
  return is_key ? builder_.add_key(keys_.emplace_front(std::move(replaced))) : builder_.add_text(replaced);
}

// The first control character that JSON allows nowhere; the size of the text when there is none.
std::size_t first_control_character(std::string_view text) noexcept {
  const auto is_bad = [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 && byte != '\n' && byte != '\r' && byte != '\t';
  };
  constexpr std::size_t block = 1024;
  for (std::size_t begin = 0; begin < text.size(); begin += block) {
    const std::string_view part = text.substr(begin, block);
    unsigned char bad = 0;  // a byte, and no exit from the loop, so that compilers vectorize it
    for (const char c : part) bad |= is_bad(c) ? 1 : 0;
    if (bad) return begin + static_cast<std::size_t>(std::find_if(part.begin(), part.end(), is_bad) - part.begin());
  }
  return text.size();
}

void check_characters(std::string_view text) {
  if (const std::size_t at = unicode::valid_utf8_length(text); at < text.size()) throw Fault{at, "invalid UTF-8"};
  if (const std::size_t at = first_control_character(text); at < text.size())
    throw Fault{at, "a control character (code " + std::to_string(static_cast<int>(text[at])) + ")"};
}

std::string parser_reason(rapidjson::ParseErrorCode code, bool at_end) {
  const bool at_start = code == rapidjson::kParseErrorDocumentEmpty;
  if (at_end) return at_start ? "the document is empty" : "the document ends too early";
  if (at_start) return "the document begins with neither an object nor an array";
  if (code == rapidjson::kParseErrorNumberTooBig) return too_large;
  std::string reason = rapidjson::GetParseError_En(code);
  while (!reason.empty() && reason.back() == '.') reason.pop_back();
  return reason;
}

// Parses in place. `text` is followed by the padding.
HTuple parse(std::span<char> text, const JsonReading& options) {
  check_characters({text.data(), text.size()});
  JsonBuilder builder(options);
  Events events(builder, std::string_view(text.data(), text.size()).find("\\u") != std::string_view::npos);
  rapidjson::InsituStringStream stream(text.data());
  rapidjson::GenericReader<rapidjson::UTF8<>, rapidjson::UTF8<>, ThrowingAllocator> reader;
  const rapidjson::ParseResult result = reader.Parse<parse_flags>(stream, events);
  if (!result.IsError()) return builder.document();
  if (result.Code() == rapidjson::kParseErrorTermination) throw Fault{result.Offset(), builder.reason()};
  throw Fault{result.Offset(), parser_reason(result.Code(), result.Offset() >= text.size())};
}

std::size_t length_of_mark(std::string_view text) {
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF"))
    fail("is JSON in UTF-16 or UTF-32; it has to be UTF-8");
  return text.starts_with("\xEF\xBB\xBF") ? 3 : 0;
}

// Lines and columns count from 1, columns in characters.
std::string place_of(std::string_view text, std::size_t offset) {
  const std::string_view before = text.substr(0, offset);
  const auto line = 1 + std::count(before.begin(), before.end(), '\n');
  const std::string_view in_line = before.substr(before.rfind('\n') + 1);
  const auto column = 1 + std::count_if(in_line.begin(), in_line.end(), [](char c) { return (c & 0xC0) != 0x80; });
  return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

}  // namespace

const JsonWords& json_words() {
  static const JsonWords words{new_permanent_string("true"), new_permanent_string("false"),
                               new_permanent_string("null")};
  return words;
}

HHandle read_json(std::string_view path, const JsonReading& options) {
  InputFile file(path);
  const auto size = static_cast<std::size_t>(file.size());
  Buffer<char> content(size + padding);
  file.read(content.data(), size);
  std::memset(content.data() + size, 0, padding);
  const std::size_t mark = length_of_mark({content.data(), size});
  try {
    const HTuple document = parse({content.data() + mark, size - mark}, options);
    retain(Access::handle_data(document));
    return Access::wrap(Access::handle_data(document));
  } catch (const Fault& fault) {
    // Parsing in place has changed the text, so the lines are counted in a fresh copy.
    const Buffer<std::byte> again = read_file(path);
    std::string_view text(reinterpret_cast<const char*>(again.data()), again.size());
    text.remove_prefix(std::min(mark, text.size()));
    fail(place_of(text, fault.offset) + ": " + fault.reason);
  }
}

}  // namespace HalconCpp::detail
