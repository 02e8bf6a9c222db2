#include "drawing.h"

#include <cstddef>
#include <utility>

#include "png_file.h"

namespace host {

namespace {

// For errors that have no text in the library.
std::string reason_without_text(const Session& session, const qv_node* node, std::int32_t index) {
  const std::int32_t channels = qv_node_image_channel_count(session.reader(), node, index);
  if (channels == 2 || channels > 4)
    return "an image of " + std::to_string(channels) + " channels cannot be drawn, only one of 1, 3 or 4 channels";
  return "this object cannot be drawn (out of memory?)";
}

[[noreturn]] void fail_to_draw(const Session& session, const qv_node* node, std::int32_t index) {
  const std::string reason = session.last_error();
  throw Failure(reason.empty() ? reason_without_text(session, node, index) : reason);
}

bool extract_picture(qv_reader* reader, const qv_node* node, std::int32_t index, Picture& picture) {
  std::uint8_t* bytes = nullptr;
  const bool done = qv_extract_image(reader, node, index, &picture.width, &picture.height, &picture.stride,
                                     &picture.format, &bytes) == 1;
  picture.bytes.reset(bytes);
  return done;
}

using ExtractPoints = decltype(&qv_extract_contour_points);

bool extract_line(ExtractPoints extract, qv_reader* reader, const qv_node* node, std::int32_t index,
                  std::vector<Line>& lines) {
  Line line;
  double *rows = nullptr, *cols = nullptr;
  const bool done = extract(reader, node, index, &rows, &cols, &line.count) == 1;
  line.rows.reset(rows);
  line.cols.reset(cols);
  lines.push_back(std::move(line));
  return done;
}

bool extract_parallels(qv_reader* reader, const qv_node* node, std::int32_t index, std::vector<Line>& lines) {
  Line first, second;
  double *rows1 = nullptr, *cols1 = nullptr, *rows2 = nullptr, *cols2 = nullptr;
  const bool done =
      qv_extract_parallel_lines(reader, node, index, &rows1, &cols1, &first.count, &rows2, &cols2, &second.count) == 1;
  first.rows.reset(rows1);
  first.cols.reset(cols1);
  second.rows.reset(rows2);
  second.cols.reset(cols2);
  lines.push_back(std::move(first));
  lines.push_back(std::move(second));
  return done;
}

bool extract_runs(qv_reader* reader, const qv_node* node, std::int32_t index, Runs& runs) {
  std::int32_t *rows = nullptr, *begins = nullptr, *ends = nullptr;
  const bool done = qv_extract_region_runs(reader, node, index, &rows, &begins, &ends, &runs.count) == 1;
  runs.rows.reset(rows);
  runs.begins.reset(begins);
  runs.ends.reset(ends);
  return done;
}

}  // namespace

// If a node holds objects of several classes, each detail line begins with the class of its object.
std::string object_class(const qv_node* node, std::int32_t index) {
  std::string whole = to_utf8(qv_node_object_class(node));
  if (whole != "mixed") return whole;
  const std::string line = to_utf8(qv_node_detail_line_at(node, index));
  return line.substr(0, line.find(':'));
}

void check_object(const qv_node* node, std::int32_t index) {
  if (qv_node_kind(node) != QV_NODE_OBJECT) throw Failure("the node holds no objects");
  const std::uint32_t count = qv_node_object_count(node);
  if (index < 0 || static_cast<std::uint32_t>(index) >= count)
    throw Failure("the node holds " + std::to_string(count) + (count == 1 ? " object" : " objects") +
                  ", none at index " + std::to_string(index));
}

Drawing draw(const Session& session, const qv_node* node, std::int32_t index) {
  check_object(node, index);
  const std::string what = object_class(node, index);
  qv_reader* reader = session.reader();
  Drawing drawing;
  bool done = false;
  if (what == "region")
    done = extract_runs(reader, node, index, drawing.runs.emplace());
  else if (what == "xld_cont")
    done = extract_line(qv_extract_contour_points, reader, node, index, drawing.lines);
  else if (what == "xld_poly")
    done = extract_line(qv_extract_polygon_points, reader, node, index, drawing.lines);
  else if (what == "xld_parallel")
    done = extract_parallels(reader, node, index, drawing.lines);
  else if (what == "image")
    done = extract_picture(reader, node, index, drawing.picture.emplace());
  else
    throw Failure("an object of the class '" + what + "' cannot be drawn");
  if (!done) fail_to_draw(session, node, index);
  return drawing;
}

std::string picture_png(const Picture& picture) {
  if (picture.format == QV_PIXELS_GRAY8)
    return make_png(picture.bytes.get(), picture.width, picture.height, picture.stride, 1);
  const int channels = picture.format == QV_PIXELS_BGR24 ? 3 : 4;
  const std::size_t size = std::size_t{picture.stride} * picture.height;
  std::vector<std::uint8_t> rgb(picture.bytes.get(), picture.bytes.get() + size);
  for (std::size_t i = 0; i + 2 < size; i += static_cast<std::size_t>(channels)) std::swap(rgb[i], rgb[i + 2]);
  return make_png(rgb.data(), picture.width, picture.height, picture.stride, channels);
}

}  // namespace host
