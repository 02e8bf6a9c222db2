// Ten million points and runs, against one copy of the arrays into blocks like the host's.
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "files.h"
#include "process.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "rows.h"

namespace bench {

namespace {

using namespace HalconCpp;

constexpr std::size_t count = 10'000'000;

double time_of_copies(const char* from, std::size_t bytes, int arrays) {
  return seconds([&] {
    std::vector<Block> blocks;
    for (int i = 0; i < arrays; ++i) {
      blocks.push_back(new_block(bytes));
      std::memcpy(blocks.back().get(), from + bytes * static_cast<std::size_t>(i), bytes);
      keep(blocks.back().get());
    }
  });
}

Pair against_copies(const HObject& object, double (*extract)(const OpenObject&), std::size_t element, int arrays) {
  const std::string path = path_of("geometry.hobj");
  WriteObject(object, path.c_str());
  const auto opened = std::make_shared<const OpenObject>(open_first_object(path));
  const std::size_t bytes = count * element, all = bytes * static_cast<std::size_t>(arrays);
  const std::shared_ptr<const Block> from = std::make_shared<Block>(new_block(all));
  std::memset(from->get(), 'x', all);
  return {[=] { return extract(*opened); }, [=] { return time_of_copies(from->get(), bytes, arrays); }};
}

double time_of_points(const OpenObject& object) {
  return seconds([&] {
    double *rows, *cols;
    std::uint32_t points;
    require(
        qv_extract_contour_points(object.reader.get(), object.node, 0, &rows, &cols, &points) == 1 && points == count,
        "points are extracted");
    qv_free_double_buffer(rows);
    qv_free_double_buffer(cols);
  });
}

double time_of_runs(const OpenObject& object) {
  return seconds([&] {
    std::int32_t *rows, *begins, *ends;
    std::uint32_t runs;
    require(
        qv_extract_region_runs(object.reader.get(), object.node, 0, &rows, &begins, &ends, &runs) == 1 && runs == count,
        "runs are extracted");
    qv_free_int_buffer(rows);
    qv_free_int_buffer(begins);
    qv_free_int_buffer(ends);
  });
}

HObject long_contour() {
  HTuple rows, cols;
  for (std::size_t i = 0; i < count; ++i) {
    rows.Append(static_cast<double>(i % 3000) + 0.25);
    cols.Append(static_cast<double>(i) / 3000 + 0.5);
  }
  HObject contour;
  GenContourPolygonXld(&contour, rows, cols);
  return contour;
}

// A row of them has gaps between them.
HObject many_runs() {
  constexpr std::size_t per_row = 1000;
  HTuple rows, begins, ends;
  for (std::size_t i = 0; i < count; ++i) {
    rows.Append(static_cast<Hlong>(i / per_row));
    begins.Append(static_cast<Hlong>(i % per_row * 4));
    ends.Append(static_cast<Hlong>(i % per_row * 4 + 2));
  }
  HObject region;
  GenRegionRuns(&region, rows, begins, ends);
  return region;
}

}  // namespace

void add_geometry_rows() {
  add_row({"contour of 10,000,000 points", "one memcpy of the arrays", 1.3},
          [] { return against_copies(long_contour(), time_of_points, sizeof(double), 2); });
  add_row({"region of 10,000,000 runs", "one memcpy of the arrays", 1.3},
          [] { return against_copies(many_runs(), time_of_runs, sizeof(std::int32_t), 3); });
}

}  // namespace bench
