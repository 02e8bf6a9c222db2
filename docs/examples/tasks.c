/* The examples of the task pages, as one program: tasks FOLDER does them on the samples in that folder. */
#include <stdio.h>
#include <string.h>

#include "quovel_adapter_2411/quovel_adapter.h"

/* A text in ASCII as the library takes it; good for the last `kept` calls. */
static const qv_char* text(const char* ascii) {
  enum { kept = 4, room = 1024 };
  static qv_char units[kept][room];
  static int next;
  qv_char* const to = units[next = (next + 1) % kept];
  size_t i = 0;
  for (; ascii[i] && i + 1 < room; ++i) to[i] = (qv_char)(unsigned char)ascii[i];
  to[i] = 0;
  return to;
}

static void print(const qv_char* units) {
  for (; *units; ++units) putchar(*units < 0x80 ? (char)*units : '?');
}

static int fail(const qv_reader* reader) {
  print(qv_reader_last_error(reader));
  putchar('\n');
  return 1;
}

/* [tree] */
static void print_node(const qv_node* node, int level) {
  printf("%*s", 2 * level, "");
  print(qv_node_label(node));
  printf("  ");
  print(qv_node_type_label(node));
  printf("  ");
  print(qv_node_value_summary(node));
  putchar('\n');
}

/* Without calling itself: files may nest deeply. Levels below the 32nd are left out. */
static void print_tree(const qv_node* root) {
  enum { levels = 32 };
  const qv_node* nodes[levels] = {root};
  int32_t next[levels] = {0};
  print_node(root, 0);
  for (int level = 0; level >= 0;) {
    if (level + 1 == levels || next[level] == qv_node_child_count(nodes[level])) {
      --level;
      continue;
    }
    const qv_node* const child = qv_node_child_at(nodes[level], next[level]++);
    print_node(child, ++level);
    nodes[level] = child;
    next[level] = 0;
  }
}

static int show_dictionary(qv_reader* reader, const char* path) {
  const qv_node* root = qv_reader_parse_file(reader, text(path));
  if (!root) return fail(reader);
  print_tree(root);
  return 0;
}
/* [tree] */

/* [values] */
static double sum_of_values(const qv_node* node) {
  double sum = 0;
  for (int32_t i = 0; i < qv_node_value_count(node); ++i) {
    if (qv_node_value_type_at(node, i) == QV_VALUE_REAL) sum += qv_node_value_real_at(node, i);
    if (qv_node_value_type_at(node, i) == QV_VALUE_INTEGER) sum += (double)qv_node_value_int_at(node, i);
  }
  return sum;
}
/* [values] */

/* [image] */
static int brightness(qv_reader* reader, const qv_node* node, double* mean) {
  uint32_t width, height, stride, format;
  uint8_t* pixels;
  if (!qv_extract_image(reader, node, 0, &width, &height, &stride, &format, &pixels)) return 0;
  const uint32_t bytes = format == QV_PIXELS_GRAY8 ? 1 : format == QV_PIXELS_BGR24 ? 3 : 4;
  double sum = 0;
  for (uint32_t row = 0; row < height; ++row)
    for (uint32_t i = 0; i < width; ++i) sum += pixels[(size_t)row * stride + (size_t)i * bytes];
  *mean = sum / ((double)width * height);
  qv_free_buffer(pixels);
  return 1;
}
/* [image] */

/* [region] */
static int64_t area_of_region(qv_reader* reader, const qv_node* node, int32_t index) {
  int32_t *rows, *begins, *ends;
  uint32_t count;
  if (!qv_extract_region_runs(reader, node, index, &rows, &begins, &ends, &count)) return -1;
  int64_t area = 0;
  for (uint32_t i = 0; i < count; ++i) area += ends[i] - begins[i] + 1;
  qv_free_int_buffer(rows);
  qv_free_int_buffer(begins);
  qv_free_int_buffer(ends);
  return area;
}
/* [region] */

/* [contour] */
static int first_point(qv_reader* reader, const qv_node* node, double* row, double* column) {
  double *rows, *columns;
  uint32_t count;
  if (!qv_extract_contour_points(reader, node, 0, &rows, &columns, &count)) return 0;
  if (count > 0) *row = rows[0], *column = columns[0];
  qv_free_double_buffer(rows);
  qv_free_double_buffer(columns);
  return count > 0;
}
/* [contour] */

/* [save] */
static int save_first_object(qv_reader* reader, const char* from, const char* to) {
  const qv_node* root = qv_reader_parse_object_file(reader, text(from));
  if (!root || !qv_save_object_as(reader, qv_node_child_at(root, 0), text(to))) return fail(reader);
  return 0;
}
/* [save] */

/* [convert] */
static int convert(qv_reader* reader, const char* from, const char* to) {
  const int32_t lenient = 1; /* leaves out what the new format cannot hold */
  return qv_reader_convert_dict_file(reader, text(from), text(to), lenient) ? 0 : fail(reader);
}
/* [convert] */

static const qv_node* child(const qv_node* node, const char* label) {
  for (int32_t i = 0; i < qv_node_child_count(node); ++i) {
    const qv_node* const found = qv_node_child_at(node, i);
    const qv_char* units = qv_node_label(found);
    size_t length = 0;
    while (units[length] && units[length] == (qv_char)label[length]) ++length;
    if (units[length] == 0 && label[length] == 0) return found;
  }
  return NULL;
}

int main(int count, char** arguments) {
  char from[512], to[512];
  double mean = 0, row = 0, column = 0;
  if (count != 2) return 2;
  qv_reader* reader = qv_reader_create();
  if (!reader) return 1;
  snprintf(from, sizeof from, "%s/parts.hdict", arguments[1]);
  int failed = show_dictionary(reader, from);
  if (!failed) {
    const qv_node* root = qv_reader_parse_file(reader, text(from));
    printf("sum %.2f\n", sum_of_values(child(child(root, "measured"), "radii")));
    if (brightness(reader, child(root, "image"), &mean)) printf("mean %.2f\n", mean);
    printf("area %ld\n", (long)area_of_region(reader, child(root, "washers"), 2));
    if (first_point(reader, child(root, "rim"), &row, &column)) printf("point %.1f %.1f\n", row, column);
  }
  failed |= convert(reader, from, "tasks.json");
  snprintf(to, sizeof to, "%s/scene.hobj", arguments[1]);
  failed |= save_first_object(reader, to, "tasks.png");
  qv_reader_destroy(reader);
  return failed;
}
