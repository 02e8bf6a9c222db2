#include "extract/geometry.h"

#include <cstddef>
#include <utility>

#include "HalconCpp.h"
#include "extract/selection.h"
#include "tree/objects.h"

namespace quovel {

using HalconCpp::Hlong;
using HalconCpp::HObject;
using HalconCpp::HTuple;

namespace {

std::optional<PointListData> copy_points(const HTuple& rows, const HTuple& cols) {
  const Hlong count = rows.Length();
  PointListData points{HostBuffer<double>(static_cast<std::size_t>(count)),
                       HostBuffer<double>(static_cast<std::size_t>(count))};
  if (!points.rows.allocated() || !points.cols.allocated()) return std::nullopt;
  for (Hlong i = 0; i < count; ++i) points.rows[static_cast<std::size_t>(i)] = rows[i].D();
  for (Hlong i = 0; i < count; ++i) points.cols[static_cast<std::size_t>(i)] = cols[i].D();
  return points;
}

// The first `count` elements, narrowed to 32 bits; not allocated when there is no memory.
HostBuffer<std::int32_t> copy_integers(const HTuple& values, Hlong count) {
  HostBuffer<std::int32_t> copy(static_cast<std::size_t>(count));
  if (!copy.allocated()) return copy;
  for (Hlong i = 0; i < count; ++i) copy[static_cast<std::size_t>(i)] = static_cast<std::int32_t>(values[i].L());
  return copy;
}

// The result of `read` for the object; nothing when the node has no such object.
template <class Data, class Read>
std::optional<Data> extract(const Node& node, std::int32_t index, Read&& read) {
  if (!has_object(node, index)) return std::nullopt;
  return read(select_object(held_object(node), index));
}

}  // namespace

std::optional<PointListData> extract_contour_points(const Node& node, std::int32_t index) {
  return extract<PointListData>(node, index, [](const HObject& contour) {
    HTuple rows, cols;
    HalconCpp::GetContourXld(contour, &rows, &cols);
    return copy_points(rows, cols);
  });
}

std::optional<PointListData> extract_polygon_points(const Node& node, std::int32_t index) {
  return extract<PointListData>(node, index, [](const HObject& polygon) {
    HTuple rows, cols, lengths, angles;
    HalconCpp::GetPolygonXld(polygon, &rows, &cols, &lengths, &angles);
    return copy_points(rows, cols);
  });
}

std::optional<ParallelLinesData> extract_parallel_lines(const Node& node, std::int32_t index) {
  return extract<ParallelLinesData>(node, index, [](const HObject& parallels) -> std::optional<ParallelLinesData> {
    HTuple row1, col1, length1, phi1, row2, col2, length2, phi2;
    HalconCpp::GetParallelsXld(parallels, &row1, &col1, &length1, &phi1, &row2, &col2, &length2, &phi2);
    auto first = copy_points(row1, col1);
    auto second = copy_points(row2, col2);
    if (!first || !second) return std::nullopt;
    return ParallelLinesData{std::move(*first), std::move(*second)};
  });
}

std::optional<RegionRunsData> extract_region_runs(const Node& node, std::int32_t index) {
  return extract<RegionRunsData>(node, index, [](const HObject& region) -> std::optional<RegionRunsData> {
    HTuple rows, begins, ends;
    HalconCpp::GetRegionRuns(region, &rows, &begins, &ends);
    const Hlong count = rows.Length();
    RegionRunsData runs{copy_integers(rows, count), copy_integers(begins, count), copy_integers(ends, count)};
    if (!runs.rows.allocated() || !runs.column_begins.allocated() || !runs.column_ends.allocated()) return std::nullopt;
    return runs;
  });
}

}  // namespace quovel
