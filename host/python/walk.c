/* Walks a tree for the Python host: one call fills arrays for many nodes, where Python would make ten calls per node.
 * It uses the exported functions alone. A block holds at most the nodes asked for; its arrays are valid until the next
 * call with the same cursor. Nothing here recurses: trees may be as deep as files nest. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "quovel_adapter_2411/quovel_adapter.h"

#define WALK_API __attribute__((visibility("default")))

/* Of longer texts, only the beginning is of use for a search. Each node has a place, which holds all keys above it. */
enum { max_value_units = 4096, max_name_units = 512 };
enum { has_number = 1, is_image = 2 };

typedef struct {
  const qv_node* node;
  int64_t children;
  int64_t next;
  size_t place_units; /* of the place of the node */
} step;

typedef struct {
  int64_t count;
  int64_t units;
  int64_t kept, room, text_room; /* capacities */
  uint32_t* kinds;
  uint32_t* totals;
  uint32_t* levels;
  uint8_t* flags;
  double* numbers;
  const qv_node** nodes;
  qv_char* texts; /* place, label, type, value of each node, each with a NUL at its end */
} block;

typedef struct {
  qv_reader* reader;
  step* steps;
  size_t depth, steps_room;
  qv_char* place;
  size_t place_room;
  block out;
  int failed; /* memory ran out */
} cursor;

static size_t length_of(const qv_char* text) {
  size_t length = 0;
  while (text[length]) ++length;
  return length;
}

static int grow(void** memory, size_t size, size_t wanted, size_t* room) {
  if (wanted <= *room) return 1;
  size_t next = *room ? *room : 64;
  while (next < wanted) next *= 2;
  void* const larger = realloc(*memory, next * size);
  if (!larger) return 0;
  *memory = larger;
  *room = next;
  return 1;
}

static void append(cursor* at, const qv_char* text, size_t length) {
  size_t room = (size_t)at->out.text_room;
  if (!grow((void**)&at->out.texts, sizeof(qv_char), (size_t)at->out.units + length + 1, &room)) {
    at->failed = 1;
    return;
  }
  at->out.text_room = (int64_t)room;
  if (length) memcpy(at->out.texts + at->out.units, text, length * sizeof(qv_char));
  at->out.units += (int64_t)length;
  at->out.texts[at->out.units++] = 0;
}

/* Sets the place to that of a parent, followed by the segment of a node: '/' is "~1" in keys, '~' is "~0", the empty
 * key is "~". Returns its length, or 0 when memory ran out. */
static size_t write_place(cursor* at, size_t parent_units, const qv_node* node) {
  char digits[16];
  const qv_char* const label = qv_node_label(node);
  const int by_index = qv_node_path_segment_kind(node) == QV_PATH_INDEX;
  const size_t longest = by_index ? sizeof digits : 2 * length_of(label) + 1;
  if (!grow((void**)&at->place, sizeof(qv_char), parent_units + 1 + longest, &at->place_room)) return 0;
  qv_char* to = at->place + parent_units;
  *to++ = '/';
  if (by_index) {
    snprintf(digits, sizeof digits, "%u", qv_node_path_index(node));
    for (const char* digit = digits; *digit; ++digit) *to++ = (qv_char)*digit;
  } else if (!*label) {
    *to++ = '~';
  }
  for (const qv_char* from = by_index ? NULL : label; from && *from; ++from) {
    const int escaped = *from == '/' || *from == '~';
    *to++ = escaped ? '~' : *from;
    if (escaped) *to++ = *from == '/' ? '1' : '0';
  }
  return (size_t)(to - at->place);
}

static void append_cut(cursor* at, const qv_char* text, size_t length, size_t max_units) {
  if (length > max_units) length = max_units;
  if (length > 0 && text[length - 1] >= 0xD800 && text[length - 1] < 0xDC00) --length; /* half of a pair */
  append(at, text, length);
}

static void append_value(cursor* at, const qv_node* node) {
  /* The full text of what the library keeps anyway; a summary of longer tuples. */
  const int whole = qv_node_kind(node) == QV_NODE_VALUE && qv_node_value_count(node) > 1 && !qv_node_truncated(node);
  const qv_char* const text = whole ? qv_node_full_value_text(at->reader, node) : qv_node_value_summary(node);
  append_cut(at, text, length_of(text), max_value_units);
}

static void visit(cursor* at, const qv_node* node, size_t place_units) {
  static const qv_char root_place[] = {'/', 0};
  block* const out = &at->out;
  const int64_t i = out->count++;
  out->nodes[i] = node;
  out->levels[i] = (uint32_t)(at->depth - 1);
  out->kinds[i] = qv_node_kind(node);
  out->totals[i] = out->kinds[i] == QV_NODE_OBJECT ? qv_node_object_count(node) : qv_node_total_count(node);
  out->flags[i] = out->kinds[i] == QV_NODE_OBJECT && qv_node_is_image(node) ? is_image : 0;
  if (qv_node_value_count(node) == 1 && qv_node_total_count(node) == 1) {
    const uint32_t type = qv_node_value_type_at(node, 0);
    if (type != QV_VALUE_STRING) out->flags[i] |= has_number;
    out->numbers[i] = type == QV_VALUE_REAL ? qv_node_value_real_at(node, 0) : (double)qv_node_value_int_at(node, 0);
  }
  append_cut(at, place_units ? at->place : root_place, place_units ? place_units : 1, max_name_units);
  append_cut(at, qv_node_label(node), length_of(qv_node_label(node)), max_name_units);
  append(at, qv_node_type_label(node), length_of(qv_node_type_label(node)));
  append_value(at, node);
}

static void enter(cursor* at, const qv_node* node, size_t place_units) {
  if (!grow((void**)&at->steps, sizeof(step), at->depth + 1, &at->steps_room)) {
    at->failed = 1;
    return;
  }
  const step next = {node, qv_node_child_count(node), 0, place_units};
  at->steps[at->depth++] = next;
  visit(at, node, place_units);
}

WALK_API void qv_walk_end(cursor* at) {
  if (!at) return;
  free(at->steps);
  free(at->place);
  free(at->out.kinds);
  free(at->out.totals);
  free(at->out.levels);
  free(at->out.flags);
  free(at->out.numbers);
  free(at->out.nodes);
  free(at->out.texts);
  free(at);
}

/* A cursor before `root`, whose blocks have at most `max_nodes` nodes; null when memory is exhausted. */
WALK_API cursor* qv_walk_begin(qv_reader* reader, const qv_node* root, int64_t max_nodes) {
  cursor* const at = calloc(1, sizeof(cursor));
  if (!at) return NULL;
  const size_t room = (size_t)max_nodes;
  at->reader = reader;
  at->out.room = max_nodes;
  at->out.kinds = calloc(room, sizeof *at->out.kinds);
  at->out.totals = calloc(room, sizeof *at->out.totals);
  at->out.levels = calloc(room, sizeof *at->out.levels);
  at->out.flags = calloc(room, sizeof *at->out.flags);
  at->out.numbers = calloc(room, sizeof *at->out.numbers);
  at->out.nodes = calloc(room, sizeof *at->out.nodes);
  const block* const out = &at->out;
  if (out->kinds && out->totals && out->levels && out->flags && out->numbers && out->nodes)
    enter(at, root, 0);
  else
    at->failed = 1;
  at->out.kept = 1;
  return at;
}

/* The next block, empty after the last node; null when memory is exhausted. */
WALK_API const block* qv_walk_next(cursor* at) {
  if (!at->out.kept) at->out.count = at->out.units = 0;
  at->out.kept = 0;
  while (!at->failed && at->depth > 0 && at->out.count < at->out.room) {
    step* const here = &at->steps[at->depth - 1];
    if (here->next == here->children) {
      --at->depth;
      continue;
    }
    const qv_node* const child = qv_node_child_at(here->node, (int32_t)here->next++);
    const size_t units = write_place(at, here->place_units, child);
    if (units == 0)
      at->failed = 1;
    else
      enter(at, child, units);
  }
  return at->failed ? NULL : &at->out;
}
