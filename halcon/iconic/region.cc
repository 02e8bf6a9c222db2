#include "iconic/region.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace HalconCpp::detail {

namespace {

bool is_normalized(const Runs& runs) {
  for (std::size_t i = 1; i < runs.size(); ++i) {
    if (runs.rows[i] < runs.rows[i - 1]) return false;
    if (runs.rows[i] == runs.rows[i - 1] && runs.begins[i] <= std::int64_t{runs.ends[i - 1]} + 1) return false;
  }
  return true;
}

void reserve(Runs& runs, std::size_t count) {
  runs.rows.reserve(count);
  runs.begins.reserve(count);
  runs.ends.reserve(count);
}

// Adds a run that starts at or after the last one; runs that overlap or touch become one.
void add_merged(Runs& runs, std::int32_t row, std::int32_t begin, std::int32_t end) {
  if (runs.size() > 0 && runs.rows.back() == row && begin <= std::int64_t{runs.ends.back()} + 1)
    runs.ends.back() = std::max(runs.ends.back(), end);
  else
    runs.add(row, begin, end);
}

}  // namespace

void Runs::add(std::int32_t row, std::int32_t begin, std::int32_t end) {
  rows.push_back(row);
  begins.push_back(begin);
  ends.push_back(end);
}

RunsRef normalized(Runs runs) {
  if (is_normalized(runs)) return std::make_shared<const Runs>(std::move(runs));
  std::vector<std::size_t> order(runs.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    return std::pair(runs.rows[a], runs.begins[a]) < std::pair(runs.rows[b], runs.begins[b]);
  });
  Runs merged;
  reserve(merged, runs.size());
  for (const std::size_t i : order) add_merged(merged, runs.rows[i], runs.begins[i], runs.ends[i]);
  return std::make_shared<const Runs>(std::move(merged));
}

RunsRef frame_runs(std::int32_t width, std::int32_t height) {
  Runs runs;
  runs.rows.resize(static_cast<std::size_t>(height));
  std::iota(runs.rows.begin(), runs.rows.end(), 0);
  runs.begins.assign(runs.rows.size(), 0);
  runs.ends.assign(runs.rows.size(), width - 1);
  return std::make_shared<const Runs>(std::move(runs));
}

RunsRef clip(const RunsRef& runs, std::int32_t width, std::int32_t height) {
  Runs inside;
  for (std::size_t i = 0; i < runs->size(); ++i) {
    const std::int32_t begin = std::max(runs->begins[i], 0);
    const std::int32_t end = std::min(runs->ends[i], width - 1);
    if (runs->rows[i] >= 0 && runs->rows[i] < height && begin <= end) inside.add(runs->rows[i], begin, end);
  }
  return std::make_shared<const Runs>(std::move(inside));
}

RunsRef intersection(const Runs& a, const Runs& b) {
  Runs common;
  for (std::size_t i = 0, j = 0; i < a.size() && j < b.size();) {
    if (a.rows[i] == b.rows[j]) {
      const std::int32_t begin = std::max(a.begins[i], b.begins[j]);
      const std::int32_t end = std::min(a.ends[i], b.ends[j]);
      if (begin <= end) common.add(a.rows[i], begin, end);
    }
    // No further run of the other region can overlap the run that ends first.
    if (std::pair(a.rows[i], a.ends[i]) < std::pair(b.rows[j], b.ends[j]))
      ++i;
    else
      ++j;
  }
  return std::make_shared<const Runs>(std::move(common));
}

Hlong area(const Runs& runs) noexcept {
  Hlong pixels = 0;
  for (std::size_t i = 0; i < runs.size(); ++i) pixels += Hlong{runs.ends[i]} - runs.begins[i] + 1;
  return pixels;
}

}  // namespace HalconCpp::detail
