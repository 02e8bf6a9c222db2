/* A host in C: makes a picture, opens it, reads its tree and its pixels, and is told why a missing file does not open.
 */
#include <stdio.h>
#include <string.h>

#include "quovel_adapter.h"

/* An ASCII text as the library takes it. */
static const qv_char* text(const char* ascii) {
  static qv_char units[260];
  size_t i = 0;
  for (; ascii[i] && i < 259; ++i) units[i] = (qv_char)(unsigned char)ascii[i];
  units[i] = 0;
  return units;
}

static int equals(const qv_char* units, const char* ascii) {
  while (*ascii && *units == (qv_char)(unsigned char)*ascii) ++units, ++ascii;
  return *units == 0 && *ascii == 0;
}

#define CHECK(condition) \
  if (!(condition)) return fprintf(stderr, "line %d: %s\n", __LINE__, #condition), 1

int main(void) {
  static const char name[] = "c_host_test.pgm";
  uint32_t width = 0, height = 0, stride = 0, format = 9;
  uint8_t* pixels = NULL;
  qv_reader* reader = qv_reader_create();
  const qv_node *root, *image;
  FILE* file = fopen(name, "wb");
  CHECK(file && fwrite("P5 2 1 255\nab", 1, 13, file) == 13 && fclose(file) == 0);

  root = qv_reader_parse_object_file(reader, text(name));
  CHECK(root != NULL && qv_node_child_count(root) == 1);
  image = qv_node_child_at(root, 0);
  CHECK(equals(qv_node_label(image), "c_host_test") && equals(qv_node_value_summary(image), "2x1, 1ch, byte"));
  CHECK(qv_extract_image(reader, image, 0, &width, &height, &stride, &format, &pixels) == 1);
  CHECK(width == 2 && height == 1 && format == QV_PIXELS_GRAY8 && memcmp(pixels, "ab", 2) == 0);
  qv_free_buffer(pixels);

  CHECK(remove(name) == 0);
  CHECK(qv_reader_parse_object_file(reader, text(name)) == NULL && !equals(qv_reader_last_error(reader), ""));
  qv_reader_destroy(reader);
  return 0;
}
