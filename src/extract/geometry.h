// Contours, polygons, parallels and region runs as plain arrays, one per coordinate.
#ifndef QUOVEL_EXTRACT_GEOMETRY_H
#define QUOVEL_EXTRACT_GEOMETRY_H

#include <cstdint>
#include <optional>

#include "extract/host_buffer.h"
#include "tree/node.h"

namespace quovel {

// Element i of each array belongs to the same point; coordinates in pixels.
struct PointListData {
  HostBuffer<double> rows, cols;
};

struct ParallelLinesData {
  PointListData first, second;
};

// Run i covers the columns column_begins[i]..column_ends[i] of row rows[i].
struct RegionRunsData {
  HostBuffer<std::int32_t> rows, column_begins, column_ends;
};

// One object of the node each, `index` counting from 0. Nothing when the node has no object of that number, and when
// there is no memory for the buffers. Throws what HALCON throws, as for an object of another class.
std::optional<PointListData> extract_contour_points(const Node& node, std::int32_t index);
std::optional<PointListData> extract_polygon_points(const Node& node, std::int32_t index);
std::optional<ParallelLinesData> extract_parallel_lines(const Node& node, std::int32_t index);
std::optional<RegionRunsData> extract_region_runs(const Node& node, std::int32_t index);

}  // namespace quovel

#endif
