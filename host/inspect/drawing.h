// Pixels and geometry that the library extracts, in buffers that free themselves.
#ifndef QUOVEL_HOST_DRAWING_H
#define QUOVEL_HOST_DRAWING_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "session.h"

namespace host {

struct FreeBuffer {
  void operator()(std::uint8_t* buffer) const { qv_free_buffer(buffer); }
  void operator()(double* buffer) const { qv_free_double_buffer(buffer); }
  void operator()(std::int32_t* buffer) const { qv_free_int_buffer(buffer); }
};
template <class T>
using Buffer = std::unique_ptr<T[], FreeBuffer>;

struct Picture {
  std::uint32_t width = 0, height = 0, stride = 0, format = 0;
  Buffer<std::uint8_t> bytes;
};

// A line through points: `count` rows and columns, in pixels.
struct Line {
  std::uint32_t count = 0;
  Buffer<double> rows, cols;
};

// `count` runs of a region.
struct Runs {
  std::uint32_t count = 0;
  Buffer<std::int32_t> rows, begins, ends;
};

// One drawn object. Exactly one of these is set: a picture, lines (one; two for parallels) or runs.
struct Drawing {
  std::optional<Picture> picture;
  std::vector<Line> lines;
  std::optional<Runs> runs;
};

// The class of object `index` of an object node.
std::string object_class(const qv_node* node, std::int32_t index);

// Throws Failure when the node has no such object.
void check_object(const qv_node* node, std::int32_t index);

// Draws that object; throws Failure with the reason if it cannot be drawn.
Drawing draw(const Session& session, const qv_node* node, std::int32_t index);

// The picture as PNG in memory, in RGB order.
std::string picture_png(const Picture& picture);

}  // namespace host

#endif
