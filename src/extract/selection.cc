#include "extract/selection.h"

namespace quovel {

bool has_object(const Node& node, std::int32_t index) noexcept {
  if (node.kind != NodeKind::Object || index < 0) return false;
  const std::uint32_t count = node.rare() ? node.rare()->object_count : ObjectFields().object_count;
  return index < static_cast<std::int64_t>(count);
}

}  // namespace quovel
