#include "diff_files.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "drawing.h"
#include "place.h"
#include "terminal.h"
#include "walk.h"

namespace host {

namespace {

struct Placed {
  std::string place;
  const qv_node* node;
};

std::vector<Placed> nodes_of(const qv_node* root) {
  std::vector<Placed> nodes;
  Place place;
  walk(root, [&](const std::vector<Step>& steps) {
    nodes.push_back({std::string(place.of(steps)), steps.back().node});
    return true;
  });
  return nodes;
}

bool same_text(const qv_char* a, const qv_char* b) {
  while (*a && *a == *b) ++a, ++b;
  return *a == *b;
}

// Bits are compared, so that a value which is not a number equals itself.
bool same_value(const qv_node* a, const qv_node* b, std::int32_t index) {
  const std::uint32_t type = qv_node_value_type_at(a, index);
  if (type != qv_node_value_type_at(b, index)) return false;
  if (type == QV_VALUE_STRING) return same_text(qv_node_value_string_at(a, index), qv_node_value_string_at(b, index));
  if (type == QV_VALUE_INTEGER) return qv_node_value_int_at(a, index) == qv_node_value_int_at(b, index);
  return std::bit_cast<std::uint64_t>(qv_node_value_real_at(a, index)) ==
         std::bit_cast<std::uint64_t>(qv_node_value_real_at(b, index));
}

bool same_values(const Session& before, const qv_node* a, const Session& after, const qv_node* b) {
  if (qv_node_total_count(a) != qv_node_total_count(b)) return false;
  for (std::int32_t i = 0; i < qv_node_value_count(a); ++i)
    if (!same_value(a, b, i)) return false;
  if (!qv_node_truncated(a)) return true;
  return same_text(qv_node_full_value_text(before.reader(), a), qv_node_full_value_text(after.reader(), b));
}

bool same_details(const qv_node* a, const qv_node* b) {
  if (qv_node_detail_line_count(a) != qv_node_detail_line_count(b)) return false;
  for (std::int32_t i = 0; i < qv_node_detail_line_count(a); ++i)
    if (!same_text(qv_node_detail_line_at(a, i), qv_node_detail_line_at(b, i))) return false;
  return true;
}

std::size_t pixel_bytes(const Picture& picture) {
  return picture.format == QV_PIXELS_GRAY8 ? 1 : picture.format == QV_PIXELS_BGR24 ? 3 : 4;
}

std::uint64_t differing_pixels(const Picture& a, const Picture& b) {
  const std::size_t size = pixel_bytes(a);
  std::uint64_t count = 0;
  for (std::uint32_t row = 0; row < a.height; ++row) {
    const std::uint8_t *from = a.bytes.get() + std::size_t{row} * a.stride,
                       *to = b.bytes.get() + std::size_t{row} * b.stride;
    for (std::uint32_t i = 0; i < a.width; ++i)
      if (std::memcmp(from + i * size, to + i * size, size) != 0) ++count;
  }
  return count;
}

std::string numbered(std::size_t count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? " differs" : "s differ");
}

bool same_line(const Line& a, const Line& b) {
  return a.count == b.count && std::equal(a.rows.get(), a.rows.get() + a.count, b.rows.get()) &&
         std::equal(a.cols.get(), a.cols.get() + a.count, b.cols.get());
}

bool same_runs(const Runs& a, const Runs& b) {
  return a.count == b.count && std::equal(a.rows.get(), a.rows.get() + a.count, b.rows.get()) &&
         std::equal(a.begins.get(), a.begins.get() + a.count, b.begins.get()) &&
         std::equal(a.ends.get(), a.ends.get() + a.count, b.ends.get());
}

// What differs between two drawn objects of the same description, or nothing.
std::string drawn_difference(const Drawing& a, const Drawing& b) {
  if (a.picture && b.picture) {
    if (a.picture->width != b.picture->width || a.picture->height != b.picture->height ||
        a.picture->format != b.picture->format)
      return "the sizes differ";
    const std::uint64_t count = differing_pixels(*a.picture, *b.picture);
    return count ? numbered(count, "pixel") : "";
  }
  if (a.runs && b.runs) return same_runs(*a.runs, *b.runs) ? "" : "the runs differ";
  const bool same = std::equal(a.lines.begin(), a.lines.end(), b.lines.begin(), b.lines.end(), same_line);
  return same ? "" : "the points differ";
}

bool is_drawable(const qv_node* node, std::int32_t index) {
  const std::string what = object_class(node, index);
  return what == "image" || what == "region" || what.starts_with("xld_");
}

std::string object_difference(const Session& before, const qv_node* a, const Session& after, const qv_node* b) {
  for (std::int32_t i = 0; i < static_cast<std::int32_t>(qv_node_object_count(a)); ++i) {
    if (!is_drawable(a, i) || !is_drawable(b, i)) continue;
    try {
      const std::string found = drawn_difference(draw(before, a, i), draw(after, b, i));
      if (!found.empty()) return (qv_node_object_count(a) > 1 ? "object " + std::to_string(i) + ": " : "") + found;
    } catch (const Failure&) {  // neither can be drawn: their descriptions are the same
    }
  }
  return {};
}

// Empty for equal nodes.
std::string difference(const Session& before, const qv_node* a, const Session& after, const qv_node* b) {
  const auto changed = [&](auto text) { return to_utf8(text(a)) + " -> " + to_utf8(text(b)); };
  if (qv_node_kind(a) != qv_node_kind(b) || !same_text(qv_node_type_label(a), qv_node_type_label(b)))
    return changed([](const qv_node* node) { return qv_node_type_label(node); });
  const std::uint32_t kind = qv_node_kind(a);
  if (kind == QV_NODE_DICT || kind == QV_NODE_ARRAY) return {};  // their children tell
  if (!same_text(qv_node_value_summary(a), qv_node_value_summary(b)))
    return changed([](const qv_node* node) { return qv_node_value_summary(node); });
  if (kind == QV_NODE_VALUE) return same_values(before, a, after, b) ? "" : "the values differ";
  if (!same_details(a, b)) return "the details differ";
  return object_difference(before, a, after, b);
}

void print_line(std::FILE* out, char sign, const Placed& placed, const std::string& text) {
  const std::string line = std::string(1, sign) + ' ' + printable(placed.place) + '\t' + printable(text) + '\n';
  std::fwrite(line.data(), 1, line.size(), out);
}

// Prints the nodes of one tree that the other has not; those below such a node are only counted.
std::size_t print_alone(std::FILE* out, char sign, const std::vector<Placed>& nodes,
                        const std::unordered_map<std::string_view, const qv_node*>& others) {
  std::size_t count = 0;
  std::string above;
  for (const Placed& placed : nodes) {
    if (others.count(placed.place) > 0) continue;
    ++count;
    if (!above.empty() && placed.place.starts_with(above)) continue;
    above = placed.place + "/";
    print_line(out, sign, placed,
               to_utf8(qv_node_type_label(placed.node)) + "  " + to_utf8(qv_node_value_summary(placed.node)));
  }
  return count;
}

std::unordered_map<std::string_view, const qv_node*> by_place(const std::vector<Placed>& nodes) {
  std::unordered_map<std::string_view, const qv_node*> found;
  for (const Placed& placed : nodes) found.emplace(placed.place, placed.node);
  return found;
}

}  // namespace

Differences print_differences(std::FILE* out, const Session& before, const qv_node* first, const Session& after,
                              const qv_node* second) {
  const std::vector<Placed> old_nodes = nodes_of(first), new_nodes = nodes_of(second);
  const auto old_by_place = by_place(old_nodes), new_by_place = by_place(new_nodes);
  Differences found;
  found.removed = print_alone(out, '-', old_nodes, new_by_place);
  found.added = print_alone(out, '+', new_nodes, old_by_place);
  for (const Placed& placed : old_nodes) {
    const auto other = new_by_place.find(placed.place);
    if (other == new_by_place.end()) continue;
    const std::string text = difference(before, placed.node, after, other->second);
    if (text.empty()) continue;
    ++found.changed;
    print_line(out, '!', placed, text);
  }
  return found;
}

}  // namespace host
