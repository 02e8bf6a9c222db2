#include "extract_file.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <vector>

#include "drawing.h"
#include "npy_file.h"
#include "saved_image.h"
#include "stored_image.h"

namespace host {

namespace {

// The shortest digits that read back to the same number.
void append(std::string& out, double value) {
  char digits[32];
  out.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

std::string lines_csv(const std::vector<Line>& lines) {
  const bool several = lines.size() > 1;
  std::string out = several ? "line,row,column\n" : "row,column\n";
  for (std::size_t number = 0; number < lines.size(); ++number) {
    for (std::uint32_t i = 0; i < lines[number].count; ++i) {
      if (several) out += std::to_string(number + 1) + ",";
      append(out, lines[number].rows[i]);
      append(out += ',', lines[number].cols[i]);
      out += '\n';
    }
  }
  return out;
}

std::string runs_csv(const Runs& runs) {
  std::string out = "row,column_begin,column_end\n";
  for (std::uint32_t i = 0; i < runs.count; ++i)
    out +=
        std::to_string(runs.rows[i]) + "," + std::to_string(runs.begins[i]) + "," + std::to_string(runs.ends[i]) + "\n";
  return out;
}

// The part of the plane that a drawing covers: x is the column, y the row.
struct Extent {
  double left = 0, top = 0, right = 0, bottom = 0;
  bool empty = true;

  void add(double x, double y) {
    left = empty ? x : std::min(left, x);
    right = empty ? x : std::max(right, x);
    top = empty ? y : std::min(top, y);
    bottom = empty ? y : std::max(bottom, y);
    empty = false;
  }
};

std::string svg(const Extent& extent, const std::string& shapes) {
  std::string out = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"";
  for (const double number :
       {extent.left - 1, extent.top - 1, extent.right - extent.left + 2, extent.bottom - extent.top + 2})
    append(out, number), out += ' ';
  out.back() = '"';
  return out + ">\n" + shapes + "</svg>\n";
}

std::string lines_svg(const std::vector<Line>& lines) {
  Extent extent;
  std::string shapes;
  for (const Line& line : lines) {
    shapes +=
        "<polyline fill=\"none\" stroke=\"#d22\" stroke-width=\"1\" vector-effect=\"non-scaling-stroke\" points=\"";
    for (std::uint32_t i = 0; i < line.count; ++i) {
      extent.add(line.cols[i], line.rows[i]);
      append(shapes, line.cols[i]);
      append(shapes += ',', line.rows[i]);
      shapes += ' ';
    }
    shapes += "\"/>\n";
  }
  return svg(extent, shapes);
}

// A pixel covers half a unit around its middle.
std::string runs_svg(const Runs& runs) {
  Extent extent;
  std::string shapes = "<path fill=\"#d22\" d=\"";
  for (std::uint32_t i = 0; i < runs.count; ++i) {
    const double left = runs.begins[i] - 0.5, top = runs.rows[i] - 0.5,
                 width = double{1} + runs.ends[i] - runs.begins[i];
    extent.add(left, top);
    extent.add(left + width, top + 1);
    append(shapes += 'M', left);
    append(shapes += ' ', top);
    append(shapes += 'h', width);
    append(shapes += "v1h", -width);
    shapes += 'z';
  }
  return svg(extent, shapes + "\"/>\n");
}

bool ends_with(const std::string& path, std::string_view extension) {
  if (path.size() < extension.size()) return false;
  return std::equal(extension.begin(), extension.end(), path.end() - static_cast<std::ptrdiff_t>(extension.size()),
                    [](char a, char b) { return a == (b >= 'A' && b <= 'Z' ? b + ('a' - 'A') : b); });
}

// Whether a PNG file holds its values as they are, which drawing would stretch to 8 bits: unsigned integers of 16 bits.
// The description of several images tells their common type.
bool has_16_bits(const qv_node* node) {
  return (", " + to_utf8(qv_node_value_summary(node)) + ",").find(", uint2,") != std::string::npos;
}

std::string image_content(const Session& session, const qv_node* node, std::int32_t index, const std::string& path) {
  if (ends_with(path, ".tif") || ends_with(path, ".tiff")) return saved_image(session, node, index, ".tif");
  if (ends_with(path, ".npy")) return make_npy(stored_image(session, node, index));
  if (!ends_with(path, ".png")) throw Failure("an image is extracted to .png, .tif or .npy, not to '" + path + "'");
  if (has_16_bits(node)) return saved_image(session, node, index, ".png");
  return picture_png(*draw(session, node, index).picture);
}

std::string geometry_content(const Drawing& drawing, const std::string& path) {
  if (ends_with(path, ".csv")) return drawing.runs ? runs_csv(*drawing.runs) : lines_csv(drawing.lines);
  if (ends_with(path, ".svg")) return drawing.runs ? runs_svg(*drawing.runs) : lines_svg(drawing.lines);
  throw Failure("geometry is extracted to .csv or .svg, not to '" + path + "'");
}

}  // namespace

std::string extracted_content(const Session& session, const qv_node* node, std::int32_t index,
                              const std::string& path) {
  check_object(node, index);
  if (object_class(node, index) == "image") return image_content(session, node, index, path);
  return geometry_content(draw(session, node, index), path);
}

}  // namespace host
