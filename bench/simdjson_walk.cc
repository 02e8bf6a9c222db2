#include "simdjson_walk.h"

#include <simdjson.h>

#include <cstdint>

#include "rows.h"

namespace bench {

namespace ondemand = simdjson::ondemand;

struct PaddedText::Content {
  simdjson::padded_string text;
};

PaddedText::PaddedText(std::string_view text)
    : content_(std::make_unique<Content>(Content{simdjson::padded_string(text)})) {}
PaddedText::~PaddedText() = default;

namespace {

struct Sum {
  std::uint64_t bytes = 0;
  double numbers = 0;
};

// The documents here are a few levels deep.
void visit(ondemand::value value, Sum& sum) {  // NOLINT(misc-no-recursion)
  switch (value.type()) {
    case ondemand::json_type::object:
      for (auto field : value.get_object()) {
        sum.bytes += std::string_view(field.unescaped_key()).size();
        visit(field.value(), sum);
      }
      break;
    case ondemand::json_type::array:
      for (auto element : value.get_array()) visit(element.value(), sum);
      break;
    case ondemand::json_type::string:
      sum.bytes += std::string_view(value.get_string()).size();
      break;
    case ondemand::json_type::number:
      sum.numbers += double(value.get_double());
      break;
    default:
      sum.bytes += value.is_null() ? 1 : 0;
  }
}

}  // namespace

void read_every_value(const PaddedText& text) {
  ondemand::parser parser;
  ondemand::document document = parser.iterate(text.content().text);
  Sum sum;
  visit(document.get_value(), sum);
  keep(sum.bytes);
  keep(sum.numbers);
}

}  // namespace bench
