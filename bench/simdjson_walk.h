// simdjson's on-demand reader, which makes no tree: what reading every value of a document costs at least.
#ifndef QUOVEL_BENCH_SIMDJSON_WALK_H
#define QUOVEL_BENCH_SIMDJSON_WALK_H

#include <memory>
#include <string_view>

namespace bench {

// A copy of a document, followed by the bytes that the reader may read on.
class PaddedText {
 public:
  explicit PaddedText(std::string_view text);
  ~PaddedText();
  PaddedText(const PaddedText&) = delete;
  PaddedText& operator=(const PaddedText&) = delete;

  struct Content;
  const Content& content() const noexcept { return *content_; }

 private:
  std::unique_ptr<const Content> content_;
};

// Visits all values, converts the numbers and decodes the texts.
void read_every_value(const PaddedText& text);

}  // namespace bench

#endif
