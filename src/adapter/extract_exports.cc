// Pixels and geometry for drawing, and the buffers they come in.
#include <cstdint>
#include <optional>

#include "adapter/reader.h"
#include "extract/geometry.h"
#include "extract/host_buffer.h"
#include "extract/image.h"
#include "platform/heap.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "tree/node.h"

using namespace quovel;

namespace {

// Buffer outputs are null from the start, so that after a failed call the host holds no pointer of an earlier one.
template <class... T>
void clear_buffers(T**... buffers) noexcept {
  ((buffers ? void(*buffers = nullptr) : void()), ...);
}

template <class... Pointers>
bool any_null(const Pointers*... pointers) noexcept {
  return (!pointers || ...);
}

void hand_over(PointListData& points, double** rows, double** cols, uint32_t* count) noexcept {
  *count = static_cast<uint32_t>(points.rows.size());
  *rows = points.rows.release();
  *cols = points.cols.release();
}

using ExtractPoints = std::optional<PointListData> (*)(const Node&, std::int32_t);

int32_t extract_points(ExtractPoints extract, qv_reader* host_reader, const qv_node* node, int32_t index, double** rows,
                       double** cols, uint32_t* count) {
  clear_buffers(rows, cols);
  if (any_null(host_reader, node, rows, cols, count)) return 0;
  Reader& reader = *from_host(host_reader);
  return guarded(reader, 0, [&] {
    auto points = extract(*from_host(node), index);
    if (!points) return 0;
    hand_over(*points, rows, cols, count);
    return 1;
  });
}

}  // namespace

int32_t qv_node_image_channel_count(qv_reader* host_reader, const qv_node* node, int32_t index) {
  if (any_null(host_reader, node)) return -1;
  Reader& reader = *from_host(host_reader);
  return guarded(reader, -1, [&] { return image_channel_count(*from_host(node), index); });
}

int32_t qv_extract_image(qv_reader* host_reader, const qv_node* node, int32_t index, uint32_t* width, uint32_t* height,
                         uint32_t* stride, uint32_t* pixel_format, uint8_t** buffer) {
  clear_buffers(buffer);
  if (any_null(host_reader, node, width, height, stride, pixel_format, buffer)) return 0;
  Reader& reader = *from_host(host_reader);
  return guarded(reader, 0, [&] {
    auto data = extract_image(*from_host(node), index);
    if (!data) return 0;
    *width = data->width;
    *height = data->height;
    *stride = data->stride;
    *pixel_format = static_cast<uint32_t>(data->pixel_format);
    *buffer = data->bytes.release();
    return 1;
  });
}

int32_t qv_extract_contour_points(qv_reader* reader, const qv_node* node, int32_t index, double** rows, double** cols,
                                  uint32_t* count) {
  return extract_points(extract_contour_points, reader, node, index, rows, cols, count);
}

int32_t qv_extract_polygon_points(qv_reader* reader, const qv_node* node, int32_t index, double** rows, double** cols,
                                  uint32_t* count) {
  return extract_points(extract_polygon_points, reader, node, index, rows, cols, count);
}

int32_t qv_extract_parallel_lines(qv_reader* host_reader, const qv_node* node, int32_t index, double** rows1,
                                  double** cols1, uint32_t* count1, double** rows2, double** cols2, uint32_t* count2) {
  clear_buffers(rows1, cols1, rows2, cols2);
  if (any_null(host_reader, node, rows1, cols1, count1, rows2, cols2, count2)) return 0;
  Reader& reader = *from_host(host_reader);
  return guarded(reader, 0, [&] {
    auto lines = extract_parallel_lines(*from_host(node), index);
    if (!lines) return 0;
    hand_over(lines->first, rows1, cols1, count1);
    hand_over(lines->second, rows2, cols2, count2);
    return 1;
  });
}

int32_t qv_extract_region_runs(qv_reader* host_reader, const qv_node* node, int32_t index, int32_t** rows,
                               int32_t** column_begins, int32_t** column_ends, uint32_t* count) {
  clear_buffers(rows, column_begins, column_ends);
  if (any_null(host_reader, node, rows, column_begins, column_ends, count)) return 0;
  Reader& reader = *from_host(host_reader);
  return guarded(reader, 0, [&] {
    auto runs = extract_region_runs(*from_host(node), index);
    if (!runs) return 0;
    *count = static_cast<uint32_t>(runs->rows.size());
    *rows = runs->rows.release();
    *column_begins = runs->column_begins.release();
    *column_ends = runs->column_ends.release();
    return 1;
  });
}

void qv_free_buffer(uint8_t* buffer) { heap_free(buffer); }
void qv_free_double_buffer(double* buffer) { heap_free(buffer); }
void qv_free_int_buffer(int32_t* buffer) { heap_free(buffer); }
