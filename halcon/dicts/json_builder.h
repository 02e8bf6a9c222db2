// Builds the dictionary of a JSON document from the events of a parser.
#ifndef HALCONCPP_DICTS_JSON_BUILDER_H
#define HALCONCPP_DICTS_JSON_BUILDER_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/string_blocks.h"
#include "dicts/entry_table.h"
#include "dicts/json.h"
#include "dicts/json_keys.h"

namespace HalconCpp::detail {

// Every event answers whether parsing goes on; if not, `reason` tells why. Texts are valid UTF-8 without NUL.
class JsonBuilder {
 public:
  explicit JsonBuilder(const JsonReading& options) noexcept : options_(options) {}

  bool add(HTuple value) {
    if (open_.empty()) return reject_single_value();
    values_.push_back(std::move(value));
    return true;
  }
  bool add_text(std::string_view text) { return add(Access::adopt_string(texts_.make(text))); }
  bool add_true() { return add(options_.true_value); }
  bool add_false() { return add(options_.false_value); }
  bool add_null() { return add(options_.null_value); }
  bool add_key(std::string_view text);
  bool begin();
  bool end_object();
  bool end_array();

  bool fail_event(std::string reason) {
    reason_ = std::move(reason);
    return false;
  }
  const std::string& reason() const noexcept { return reason_; }
  // The dictionary of the document, once all events have come.
  const HTuple& document() const noexcept { return document_; }

 private:
  // An object or array that has begun and not ended.
  struct Level {
    std::size_t first_value;
    std::size_t first_key;
    std::uint32_t number;
    bool holds_array = false;
    bool may_repeat_keys = false;
  };

  bool reject_single_value();
  HTuple object_dict(const Level& level, std::span<HTuple> values);
  HTuple numbered_dict(std::span<HTuple> values);
  bool end(HTuple value, bool is_array);

  const JsonReading& options_;
  StringBlocks texts_;
  JsonKeys names_{texts_};
  std::vector<Level> open_;
  std::vector<HTuple> values_;           // of all open levels, the innermost one's last
  std::vector<const StringData*> keys_;  // of all open objects likewise; names_ holds them
  std::uint32_t levels_begun_ = 0;
  HTuple document_;
  std::string reason_;
};

}  // namespace HalconCpp::detail

#endif
