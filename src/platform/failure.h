// Failures that the library itself finds. HALCON's failures are HExceptions. The guard at the boundary
// (adapter/reader.h) turns both into the Reader's error text.
#ifndef QUOVEL_PLATFORM_FAILURE_H
#define QUOVEL_PLATFORM_FAILURE_H

#include <string>
#include <utility>

namespace quovel {

// Carries the text that the host reads.
class ReportedError {
 public:
  explicit ReportedError(std::u16string text) noexcept : text_(std::move(text)) {}
  const std::u16string& text() const noexcept { return text_; }

 private:
  std::u16string text_;
};

}  // namespace quovel

#endif
