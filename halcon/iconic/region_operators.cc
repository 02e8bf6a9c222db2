// The operators of regions, and those that make them.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "core/access.h"
#include "core/arguments.h"
#include "core/buffer.h"
#include "core/failure.h"
#include "core/limits.h"
#include "iconic/image.h"
#include "iconic/object_data.h"
#include "iconic/plane.h"
#include "iconic/region.h"

namespace HalconCpp {

using namespace detail;

namespace {

struct Center {
  Hlong area = 0;
  double row = 0;
  double column = 0;
};

// Sums in doubles: exact for every region inside an image, and no overflow for any runs.
Center center_of(const Runs& runs) {
  double rows = 0, twice_columns = 0;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    const double length = static_cast<double>(runs.ends[i]) - runs.begins[i] + 1;
    rows += runs.rows[i] * length;
    twice_columns += (static_cast<double>(runs.begins[i]) + runs.ends[i]) * length;
  }
  const Hlong pixels = area(runs);
  if (pixels == 0) return {};
  const double count = static_cast<double>(pixels);
  return {pixels, rows / count, twice_columns / (2 * count)};
}

// Writes every pixel of a frame once, in order; the runs lie inside it.
void paint(const Runs& runs, std::uint8_t* to, std::size_t width, std::size_t pixels, int foreground, int background) {
  std::size_t done = 0;
  const auto fill_to = [&](std::size_t end, int value) {
    std::memset(to + done, value, end - done);
    done = end;
  };
  for (std::size_t i = 0; i < runs.size(); ++i) {
    const std::size_t row = static_cast<std::size_t>(runs.rows[i]) * width;
    fill_to(row + static_cast<std::size_t>(runs.begins[i]), background);
    fill_to(row + static_cast<std::size_t>(runs.ends[i]) + 1, foreground);
  }
  fill_to(pixels, background);
}

ObjectRef make_region(RunsRef runs) { return std::make_shared<const Region>(std::move(runs)); }
ObjectRef make_region(Runs runs) { return make_region(std::make_shared<const Runs>(std::move(runs))); }

// Each row of a rectangle or circle is one run.
void check_rows(double rows) {
  if (!(rows <= limits::image_side))
    fail("a region of more than " + std::to_string(limits::image_side) + " rows is not made");
}

Runs rectangle_runs(std::int32_t row1, std::int32_t column1, std::int32_t row2, std::int32_t column2) {
  if (row1 > row2 || column1 > column2) fail("the second corner of a rectangle lies before the first");
  check_rows(static_cast<double>(row2) - row1 + 1);
  Runs runs;
  for (std::int64_t row = row1; row <= row2; ++row) runs.add(static_cast<std::int32_t>(row), column1, column2);
  return runs;
}

// The pixels whose centers lie inside the circle or on it.
Runs circle_runs(double row, double column, double radius) {
  if (!(std::abs(row) < INT32_MAX / 2.0 && std::abs(column) < INT32_MAX / 2.0))
    fail("the center is too far from the origin");
  if (!(radius > 0)) fail("a radius must be positive");
  check_rows(2 * radius);
  Runs runs;
  for (double y = std::ceil(row - radius); y <= row + radius; ++y) {
    const double half = std::sqrt(std::max(0.0, radius * radius - (y - row) * (y - row)));
    const double begin = std::ceil(column - half), end = std::floor(column + half);
    if (begin <= end)
      runs.add(static_cast<std::int32_t>(y), static_cast<std::int32_t>(begin), static_cast<std::int32_t>(end));
  }
  return runs;
}

void require_equal_lengths(std::initializer_list<std::size_t> lengths) {
  for (const std::size_t length : lengths)
    if (length != *lengths.begin()) fail("the coordinate tuples differ in length");
}

}  // namespace

// One element per region; an empty region has area 0 and center 0, 0.
void AreaCenter(const HObject& regions, HTuple* area, HTuple* row, HTuple* column) {
  operate("AreaCenter", [&] {
    Buffer<Hlong> areas;
    Buffer<double> rows, columns;
    for (const ObjectRef& object : objects_of(regions)) {
      require_class(*object, Region::kind);
      const Center center = center_of(*static_cast<const Region&>(*object).runs);
      areas.push_back(center.area);
      rows.push_back(center.row);
      columns.push_back(center.column);
    }
    HTuple answer = Access::integers(std::move(areas));
    offer_answer("AreaCenter", answer);
    *row = Access::reals(std::move(rows));
    *column = Access::reals(std::move(columns));
    *area = std::move(answer);
  });
}

// The tuples read the region's own arrays.
void GetRegionRuns(const HObject& region, HTuple* row, HTuple* column_begin, HTuple* column_end) {
  operate("GetRegionRuns", [&] {
    const RunsRef runs = single<Region>(region).runs;
    HTuple rows = Access::lend(runs->rows, runs), begins = Access::lend(runs->begins, runs);
    *column_end = Access::lend(runs->ends, runs);
    *column_begin = std::move(begins);
    *row = std::move(rows);
  });
}

// A byte image; the part of the region outside it is left out.
void RegionToBin(const HObject& region, HObject* image, const HTuple& foreground, const HTuple& background,
                 const HTuple& width, const HTuple& height) {
  operate("RegionToBin", [&] {
    const auto columns = static_cast<std::int32_t>(integer_argument(width, "the width", 1, limits::image_side));
    const auto rows = static_cast<std::int32_t>(integer_argument(height, "the height", 1, limits::image_side));
    const auto inside = static_cast<int>(integer_argument(foreground, "the foreground", 0, 255));
    const auto outside = static_cast<int>(integer_argument(background, "the background", 0, 255));
    check_image_size(static_cast<std::uint64_t>(columns), static_cast<std::uint64_t>(rows), 1, PixelType::Byte,
                     UINT64_MAX);
    const RunsRef runs = clip(single<Region>(region).runs, columns, rows);
    ImageDraft draft(PixelType::Byte, columns, rows, 1);
    const auto stride = static_cast<std::size_t>(columns);
    paint(*runs, draft.plane<std::uint8_t>(0), stride, stride * static_cast<std::size_t>(rows), inside, outside);
    *image = make_object(draft.finish());
  });
}

// Both corners included; one region per element.
void GenRectangle1(HObject* rectangle, const HTuple& row1, const HTuple& column1, const HTuple& row2,
                   const HTuple& column2) {
  operate("GenRectangle1", [&] {
    const auto top = coordinate_arguments(row1, "row1"), left = coordinate_arguments(column1, "column1");
    const auto bottom = coordinate_arguments(row2, "row2"), right = coordinate_arguments(column2, "column2");
    require_equal_lengths({top.size(), left.size(), bottom.size(), right.size()});
    std::vector<ObjectRef> regions;
    for (std::size_t i = 0; i < top.size(); ++i)
      regions.push_back(make_region(rectangle_runs(top[i], left[i], bottom[i], right[i])));
    *rectangle = make_object(std::move(regions));
  });
}

// One region per element.
void GenCircle(HObject* circle, const HTuple& row, const HTuple& column, const HTuple& radius) {
  operate("GenCircle", [&] {
    const auto rows = number_arguments(row, "row"), columns = number_arguments(column, "column");
    const auto radii = number_arguments(radius, "radius");
    require_equal_lengths({rows.size(), columns.size(), radii.size()});
    std::vector<ObjectRef> regions;
    for (std::size_t i = 0; i < rows.size(); ++i)
      regions.push_back(make_region(circle_runs(rows[i], columns[i], radii[i])));
    *circle = make_object(std::move(regions));
  });
}

void GenRegionRuns(HObject* region, const HTuple& row, const HTuple& column_begin, const HTuple& column_end) {
  operate("GenRegionRuns", [&] {
    Runs runs{coordinate_arguments(row, "row"), coordinate_arguments(column_begin, "column_begin"),
              coordinate_arguments(column_end, "column_end")};
    require_equal_lengths({runs.rows.size(), runs.begins.size(), runs.ends.size()});
    for (std::size_t i = 0; i < runs.size(); ++i)
      if (runs.begins[i] > runs.ends[i]) fail("run " + std::to_string(i) + " ends before it begins");
    *region = make_object(make_region(normalized(std::move(runs))));
  });
}

void GenEmptyRegion(HObject* region) {
  operate("GenEmptyRegion", [&] { *region = make_object(make_region(Runs())); });
}

}  // namespace HalconCpp
