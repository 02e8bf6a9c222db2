// Regions: sets of pixels as horizontal runs.
#ifndef HALCONCPP_ICONIC_REGION_H
#define HALCONCPP_ICONIC_REGION_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "iconic/object_data.h"

namespace HalconCpp::detail {

// Parallel arrays: run i covers the columns begins[i]..ends[i] (both included) of row rows[i]. Runs are ordered by row,
// then column, and neither overlap nor touch within a row. Coordinates may be negative or outside every image.
struct Runs {
  std::vector<std::int32_t> rows, begins, ends;

  std::size_t size() const noexcept { return rows.size(); }
  // Appends; the caller keeps the order.
  void add(std::int32_t row, std::int32_t begin, std::int32_t end);
};

using RunsRef = std::shared_ptr<const Runs>;

struct Region final : IconicObject {
  static constexpr ObjectClass kind = ObjectClass::Region;
  explicit Region(RunsRef r) noexcept : IconicObject(kind), runs(std::move(r)) {}
  RunsRef runs;  // never null
};

// The union of runs in any order, each with begin <= end, as ordered ones.
RunsRef normalized(Runs runs);
RunsRef frame_runs(std::int32_t width, std::int32_t height);
// The part of the runs inside a frame of that size.
RunsRef clip(const RunsRef& runs, std::int32_t width, std::int32_t height);
RunsRef intersection(const Runs& a, const Runs& b);
// Number of pixels.
Hlong area(const Runs& runs) noexcept;

}  // namespace HalconCpp::detail

#endif
