// Contours and polygons as a DXF drawing, after the "DXF Reference" of Autodesk for release 12 (AC1009), where each
// line of the file is a group code or its value.
#include <charconv>
#include <cmath>
#include <cstddef>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "HalconCpp.h"
#include "core/arguments.h"
#include "core/failure.h"
#include "core/file.h"
#include "iconic/object_data.h"
#include "iconic/xld.h"

namespace HalconCpp {

namespace detail {

namespace {

// How much text is collected before it is written.
constexpr std::size_t chunk = std::size_t{64} << 10;

// A drawing of release 12, which every program reads: the tables name the one line type and the one layer that the
// polylines are on.
constexpr std::string_view prologue =
    "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1009\n0\nENDSEC\n"
    "0\nSECTION\n2\nTABLES\n"
    "0\nTABLE\n2\nLTYPE\n70\n1\n"
    "0\nLTYPE\n2\nCONTINUOUS\n70\n0\n3\nSolid line\n72\n65\n73\n0\n40\n0.0\n0\nENDTAB\n"
    "0\nTABLE\n2\nLAYER\n70\n1\n"
    "0\nLAYER\n2\n0\n70\n0\n62\n7\n6\nCONTINUOUS\n0\nENDTAB\n"
    "0\nENDSEC\n"
    "0\nSECTION\n2\nENTITIES\n";
constexpr std::string_view epilogue = "0\nENDSEC\n0\nEOF\n";
constexpr std::string_view polyline = "0\nPOLYLINE\n8\n0\n66\n1\n10\n0.0\n20\n0.0\n30\n0.0\n70\n0\n";
constexpr std::string_view polyline_end = "0\nSEQEND\n8\n0\n";

// The shortest text that reads back as the same number.
void append_number(std::string& text, double number) {
  char digits[32];
  text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

void append_vertex(std::string& text, double row, double col) {
  if (!std::isfinite(row) || !std::isfinite(col)) fail("a point without a finite position cannot be written as DXF");
  text += "0\nVERTEX\n8\n0\n10\n";
  append_number(text, col);
  text += "\n20\n";
  append_number(text, row);
  text += "\n30\n0.0\n";
}

void write_polyline(OutputFile& file, const Points& points) {
  std::string text(polyline);
  for (std::size_t i = 0; i < points.rows.size(); ++i) {
    append_vertex(text, points.rows[i], points.cols[i]);
    if (text.size() < chunk) continue;
    file.write(text);
    text.clear();
  }
  file.write(text += polyline_end);
}

// One polyline per object, in order. x is the column and y the row, so that coordinates stay as they are; programs
// whose y axis points up show the drawing upside down. Polylines are open; the first point of a closed contour is
// repeated at its end.
template <class T>
void write_dxf(const char* operation, const HObject& object, const HTuple& name) {
  operate(operation, [&] {
    const std::string_view path = text_argument(name, "the file name");
    in_file(path, [&] {
      const auto& objects = objects_of(object);
      for (const ObjectRef& each : objects) require_class(*each, T::kind);
      OutputFile file(path);
      file.write(prologue);
      for (const ObjectRef& each : objects) write_polyline(file, static_cast<const T&>(*each).points);
      file.write(epilogue);
      file.commit();
    });
  });
}

}  // namespace
}  // namespace detail

void WriteContourXldDxf(const HObject& contours, const HTuple& file) {
  detail::write_dxf<detail::Contour>("WriteContourXldDxf", contours, file);
}

void WritePolygonXldDxf(const HObject& polygons, const HTuple& file) {
  detail::write_dxf<detail::Polygon>("WritePolygonXldDxf", polygons, file);
}

}  // namespace HalconCpp
