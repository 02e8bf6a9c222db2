#include <cstddef>
#include <span>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "container/format.h"
#include "container/parts.h"
#include "core/access.h"
#include "core/failure.h"
#include "core/handle_data.h"
#include "core/limits.h"
#include "dicts/entry_queries.h"
#include "dicts/entry_table.h"

namespace HalconCpp::detail::container {

namespace {

bool may_hold_handles(const HTuple& tuple) noexcept {
  const TupleKind kind = Access::common_kind(tuple);
  return kind == TupleKind::Handle || kind == TupleKind::Array;
}

class PartList {
 public:
  void add(const HandleData& handle, int depth) {
    if (kind_of(handle) == HandleKind::None)
      fail("a handle of type " + quoted(handle.semantic_type()) + " cannot be written");
    if (depth > limits::nesting)
      fail("nested deeper than " + std::to_string(limits::nesting) + " levels, or inside itself");
    // Each reference is written in full: two references per dictionary would double the file at every level.
    if (!met_.insert(&handle).second && ++repeated_ > limits::repeated_dicts)
      fail("its handles refer to one another more than " + std::to_string(limits::repeated_dicts) + " times");
    parts_.push_back({&handle, depth});
  }

  void add_children_of(std::size_t at) {
    parts_[at].first_child = parts_.size();
    const HandleKind kind = kind_of(*parts_[at].handle);
    if (kind != HandleKind::Dict && kind != HandleKind::DlModel) return;
    const EntryTable& table = *parts_[at].handle->entries();
    const int depth = parts_[at].depth + 1;
    for (std::size_t i = 0; i < table.size(); ++i) {
      if (!may_hold_handles(table.entries()[i].tuple)) continue;
      try {
        add_handles(table.entries()[i].tuple, depth);
      } catch (const Failure& failure) {
        fail("key " + key_name(Access::element(table.keys(), static_cast<Hlong>(i))) + ": " + failure.reason());
      }
    }
  }

  std::size_t size() const noexcept { return parts_.size(); }
  std::vector<Part> take() noexcept { return std::move(parts_); }

 private:
  void add_handles(const HTuple& tuple, int depth) {
    for (Hlong i = 0; i < tuple.Length(); ++i)
      if (const HTuple element = Access::element(tuple, i); Access::kind(element) == TupleKind::Handle)
        if (const HandleData* handle = Access::handle_data(element)) add(*handle, depth);
  }

  std::vector<Part> parts_;
  std::unordered_set<const HandleData*> met_;
  std::size_t repeated_ = 0;
};

}  // namespace

std::vector<Part> list_parts(const HandleData& root) {
  PartList list;
  list.add(root, 1);
  for (std::size_t i = 0; i < list.size(); ++i) list.add_children_of(i);
  return list.take();
}

}  // namespace HalconCpp::detail::container
