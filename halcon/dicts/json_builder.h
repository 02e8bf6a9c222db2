// Builds the dictionary of a JSON document from the events of a parser.
#ifndef HALCONCPP_DICTS_JSON_BUILDER_H
#define HALCONCPP_DICTS_JSON_BUILDER_H

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "core/access.h"
#include "core/string_blocks.h"
#include "dicts/json.h"

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
  // The text stays valid until its object ends.
  bool add_key(std::string_view text) {
    keys_.push_back(text);
    return true;
  }
  bool begin();
  bool end_object();
  bool end_array();

  bool fail_event(std::string reason) {
    reason_ = std::move(reason);
    return false;
  }
  const std::string& reason() const noexcept { return reason_; }
  // The dictionary of the document, after its last event.
  const HTuple& document() const noexcept { return document_; }

 private:
  // An object or array that has begun and not ended.
  struct Level {
    std::size_t first_value;
    std::size_t first_key;
    bool holds_array = false;
  };

  bool reject_single_value();
  HTuple key_tuple(std::span<const std::string_view> keys);
  HTuple object_dict(std::span<const std::string_view> keys, std::span<HTuple> values);
  HTuple numbered_dict(std::span<HTuple> values);
  bool end(HTuple value, bool is_array);

  const JsonReading& options_;
  StringBlocks texts_;
  std::vector<Level> open_;
  std::vector<HTuple> values_;          // of all open levels, the innermost one's last
  std::vector<std::string_view> keys_;  // of all open objects likewise
  std::vector<HTuple> last_keys_;       // per depth those of the last object, none of them twice
  HTuple last_numbers_;                 // the keys of the last dictionary with numbers
  HTuple document_;
  std::string reason_;
};

}  // namespace HalconCpp::detail

#endif
