/** @file
 * quovel_adapter_2411: opens HALCON data files and shows each as a tree of nodes.
 *
 * The life of a host: create a Reader, parse a file, walk the tree, extract or save what it holds, destroy the Reader.
 *
 *     qv_reader* reader = qv_reader_create();
 *     const qv_node* root = qv_reader_parse_object_file(reader, path);
 *     if (root == NULL) show(qv_reader_last_error(reader));
 *     ...
 *     qv_reader_destroy(reader);
 *
 * Text. Every text is NUL-terminated UTF-16 in units of `qv_char`. A text result is never null: where there is no text
 * it is the empty text. Numbers inside texts are written with '.' in every locale.
 *
 * Ownership and lifetime. The host owns the Reader. Nodes and texts belong to the library and must not be freed:
 *   - a node and its texts: until the next qv_reader_parse_* with a path on its Reader, or until it is destroyed;
 *   - the last-error text: until the next call on the same Reader that can fail;
 *   - the full value text: until the next qv_node_full_value_text on the same Reader, or until it is destroyed.
 *
 * Buffers returned by qv_extract_* belong to the host, which frees them with qv_free_buffer. They stay valid after the
 * Reader is destroyed. Strings and arrays that the host passes in are copied before a call returns.
 *
 * Paths. Components are separated by '/', on Windows also by a backslash; elsewhere a backslash is a character of
 * names. Half of a surrogate pair becomes U+FFFD. A file whose name is not Unicode cannot be named.
 *
 * Errors. A call that fails returns the failure value named with it: null, 0 or -1. When a pointer that it needs is
 * null, the call changes nothing else. Otherwise it first clears the Reader's last-error text. After a failure
 * qv_reader_last_error returns the reason in one line. Some failures, named with the call, leave that text empty, and
 * so does running out of memory outside of HALCON. After a failure buffer outputs are null, and all other outputs are
 * unchanged. No C++ exception leaves the library.
 *
 * Threads. The library makes no threads of its own; HALCON, and the built-in HALCON layer for long lists of images, may
 * use some within a call. A Reader is used by one thread at a time; different Readers may be used at once. A finished
 * tree may be read by several threads while nobody parses on or destroys its Reader. Calls work until the process is
 * gone, also from functions that run at exit.
 *
 * Units. Indices count from 0. Coordinates are in pixels, row before column; (0, 0) is the middle of the upper left
 * pixel.
 */
#ifndef QUOVEL_ADAPTER_H
#define QUOVEL_ADAPTER_H

#include <stddef.h>
#include <stdint.h>

#if !defined(_WIN32) && !defined(__cplusplus)
#include <uchar.h>
#endif

#if !defined(_WIN32)
#define QV_API __attribute__((visibility("default")))
#elif defined(QUOVEL_ADAPTER_BUILD)
#define QV_API __declspec(dllexport)
#else
#define QV_API __declspec(dllimport)
#endif

/** The version of this header, for the preprocessor: its first number. */
#define QV_ADAPTER_VERSION_MAJOR 0
/** Its second number. */
#define QV_ADAPTER_VERSION_MINOR 1
/** Its third number. */
#define QV_ADAPTER_VERSION_PATCH 0

#ifdef __cplusplus
extern "C" {
#endif

/** One UTF-16 unit. */
#if defined(_WIN32)
typedef wchar_t qv_char;
#else
typedef char16_t qv_char;
#endif

/** Opens files and owns the tree of the last one. */
typedef struct qv_reader qv_reader;
/** One node of a tree. */
typedef struct qv_node qv_node;

/** What a node stands for. */
enum qv_node_kind_value {
  QV_NODE_DICT = 0,  /**< a dictionary, a handle with keys, or the root of an object file: look at its children */
  QV_NODE_ARRAY = 1, /**< a tuple with handles in it: one child per element */
  QV_NODE_VALUE = 2, /**< a leaf: typed values, or a text only ("<unsupported>", "<error>") */
  QV_NODE_OBJECT = 3 /**< iconic objects, or a handle shown as a whole (matrix, 3D model, ...) */
};

/** How a node is addressed in its parent. */
enum qv_path_segment_kind_value {
  QV_PATH_KEY = 0,  /**< by its label; its path index is 0 */
  QV_PATH_INDEX = 1 /**< by its path index */
};

/** The type of one value. */
enum qv_value_type_value { QV_VALUE_STRING = 0, QV_VALUE_INTEGER = 1, QV_VALUE_REAL = 2 };

/** Layouts of extracted pixels. */
enum qv_pixel_format_value {
  QV_PIXELS_GRAY8 = 0,  /**< one byte per pixel; rows are `stride` bytes apart */
  QV_PIXELS_BGR24 = 1,  /**< three bytes per pixel, rows without gaps */
  QV_PIXELS_BGRA32 = 2, /**< four bytes per pixel, rows without gaps; A is 255 inside the image's domain and 0 outside,
                           or the fourth channel of a four-channel image */
};

/** The reading options of dictionary files; they concern JSON. */
enum qv_parse_option_key_value {
  QV_JSON_VALUE_TRUE = 0,       /**< what `true` becomes: "json_value_true" */
  QV_JSON_VALUE_FALSE = 1,      /**< what `false` becomes: "json_value_false" */
  QV_JSON_VALUE_NULL = 2,       /**< what `null` becomes: "json_value_null" */
  QV_CONVERT_JSON_ARRAYS_TO = 3 /**< "tuple" or "dict": "convert_json_arrays_to" */
};

/** One reading option: 32 bytes, naturally aligned. Only the field that `value_type` selects is read. */
typedef struct qv_parse_option {
  int32_t key;                 /**< qv_parse_option_key_value */
  int32_t value_type;          /**< qv_value_type_value */
  const qv_char* string_value; /**< read for QV_VALUE_STRING; null counts as the empty text */
  int64_t int_value;           /**< read for QV_VALUE_INTEGER */
  double real_value;           /**< read for QV_VALUE_REAL */
} qv_parse_option;

/* Checked by every compiler that can: C has static assertions since C11, which is not the default mode of all. */
#if defined(__cplusplus)
#define QV_STATIC_ASSERT static_assert
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define QV_STATIC_ASSERT _Static_assert
#else
#define QV_STATIC_ASSERT(condition, text) struct qv_no_static_assert
#endif
QV_STATIC_ASSERT(sizeof(qv_parse_option) == 32, "host record");
QV_STATIC_ASSERT(offsetof(qv_parse_option, key) == 0 && offsetof(qv_parse_option, value_type) == 4, "host record");
QV_STATIC_ASSERT(offsetof(qv_parse_option, string_value) == 8 && offsetof(qv_parse_option, int_value) == 16,
                 "host record");
QV_STATIC_ASSERT(offsetof(qv_parse_option, real_value) == 24, "host record");

/** @name Reader
 * @{ */

/** Makes a Reader; null only when memory is exhausted. Sets HALCON's process-wide "clip_region" to "false". The host
 * destroys the Reader with qv_reader_destroy. */
QV_API qv_reader* qv_reader_create(void);

/** Destroys the Reader and its tree. Null is ignored. */
QV_API void qv_reader_destroy(qv_reader* reader);

/** The text of the Reader's last failure; empty when the last call that can fail succeeded, and for a null Reader. */
QV_API const qv_char* qv_reader_last_error(const qv_reader* reader);

/** @} */

/** @name Opening files
 * Each of these reads one file and makes its tree the Reader's tree. The previous tree is destroyed, also when reading
 * fails. The result is the root, or null: then the Reader holds no tree, and the last-error text gives the reason.
 * @{ */

/** A dictionary file: a HALCON dictionary or JSON. */
QV_API const qv_node* qv_reader_parse_file(qv_reader* reader, const qv_char* path);

/** The same with `option_count` reading options, applied in order. Null `options`, or a count below 1, means none. */
QV_API const qv_node* qv_reader_parse_file_with_options(qv_reader* reader, const qv_char* path,
                                                        const qv_parse_option* options, int32_t option_count);

/** Iconic data. The extension decides: "hobj" is an object file, "seq" an image sequence, anything else an image. A
 * sequence is a text file with one image file per line, with or without its extension. Each is searched for in the
 * folder above the folder of the list, and then beside the list. The root has one child per object. */
QV_API const qv_node* qv_reader_parse_object_file(qv_reader* reader, const qv_char* path);

/** A 3D object model: the keys of its handle. */
QV_API const qv_node* qv_reader_parse_object_model_3d_file(qv_reader* reader, const qv_char* path);

/** A deep-learning model: the keys of its handle. */
QV_API const qv_node* qv_reader_parse_dl_model_file(qv_reader* reader, const qv_char* path);

/** @} */

/** @name Nodes
 * These read fields and cannot fail. A null node, or an index that is negative or not below the count, gives 0, the
 * empty text or null, except where another default is named.
 * @{ */

/** The key of an entry, "[i]" for element i of a tuple, the file's name without extension for its only object, or
 * "Object i". Empty for a root. */
QV_API const qv_char* qv_node_label(const qv_node* node);
/** qv_node_kind_value. */
QV_API uint32_t qv_node_kind(const qv_node* node);
/** A short type text: "dict", "array", "integer", "real[5]", "image", "<unsupported>", "<error>", ... */
QV_API const qv_char* qv_node_type_label(const qv_node* node);
/** One line: a key count, values, the description of an object, an error's text. */
QV_API const qv_char* qv_node_value_summary(const qv_node* node);
/** qv_path_segment_kind_value. */
QV_API uint32_t qv_node_path_segment_kind(const qv_node* node);
/** The 0-based position in the parent of a node that is addressed by index. */
QV_API uint32_t qv_node_path_index(const qv_node* node);
/** The number of values that the node stands for; more than qv_node_value_count when `truncated`. */
QV_API uint32_t qv_node_total_count(const qv_node* node);
/** 1 when only the first 1000 values were kept. */
QV_API int32_t qv_node_truncated(const qv_node* node);
/** "image", "region", "xld_cont", ..., "mixed", "empty_obj", or the type of a handle shown as a whole. */
QV_API const qv_char* qv_node_object_class(const qv_node* node);
/** 1 when the first of the node's objects is an image. */
QV_API int32_t qv_node_is_image(const qv_node* node);
/** The number of iconic objects; 1 for a null node and for nodes of other kinds. */
QV_API uint32_t qv_node_object_count(const qv_node* node);
/** How many objects the detail lines describe. */
QV_API uint32_t qv_node_detail_entry_count(const qv_node* node);

/** The number of typed values of a value node, at most 1000. The accessor of a value's type returns it. */
QV_API int64_t qv_node_value_count(const qv_node* node);
/** qv_value_type_value. */
QV_API uint32_t qv_node_value_type_at(const qv_node* node, int32_t index);
/** The value when it is a string; otherwise the empty text. */
QV_API const qv_char* qv_node_value_string_at(const qv_node* node, int32_t index);
/** The value when it is an integer; otherwise 0. */
QV_API int64_t qv_node_value_int_at(const qv_node* node, int32_t index);
/** The value when it is a real; otherwise 0.0. */
QV_API double qv_node_value_real_at(const qv_node* node, int32_t index);

/** The number of detail lines of the node: one per object of a list, one per row of a matrix. */
QV_API int64_t qv_node_detail_line_count(const qv_node* node);
/** One detail line. */
QV_API const qv_char* qv_node_detail_line_at(const qv_node* node, int32_t index);

/** The number of child nodes. */
QV_API int64_t qv_node_child_count(const qv_node* node);
/** A child node, in the order of the file; it lives as long as the node. */
QV_API const qv_node* qv_node_child_at(const qv_node* node, int32_t index);

/** All values of a value node as one text, however many; empty for nodes of another kind. Leaves the last-error text
 * alone. */
QV_API const qv_char* qv_node_full_value_text(qv_reader* reader, const qv_node* node);

/** @} */

/** @name Pixels and geometry
 * `node` is an object node of the Reader's tree, `index` the number of one of its objects. A node of another kind and
 * an index out of range fail with an empty last-error text. The results are 1 or 0.
 * @{ */

/** The number of channels of an image as stored, or -1. A node that is not an image fails with an empty text. */
QV_API int32_t qv_node_image_channel_count(qv_reader* reader, const qv_node* node, int32_t index);

/** The pixels of an image as 8 bits each: `height` rows of `width` pixels, `stride` bytes apart, in `stride` * `height`
 * bytes at `buffer`. One channel gives gray, three BGR, and both BGRA when the image's domain leaves pixels out; four
 * give BGRA. Pixel types other than "byte" are stretched to 0..255. Two channels and more than four fail with an empty
 * text, as a failure while the pixels are laid out does. */
QV_API int32_t qv_extract_image(qv_reader* reader, const qv_node* node, int32_t index, uint32_t* width,
                                uint32_t* height, uint32_t* stride, uint32_t* pixel_format, uint8_t** buffer);

/** The points of an XLD contour: `count` rows and columns. */
QV_API int32_t qv_extract_contour_points(qv_reader* reader, const qv_node* node, int32_t index, double** rows,
                                         double** cols, uint32_t* count);

/** The control points of an XLD polygon. */
QV_API int32_t qv_extract_polygon_points(qv_reader* reader, const qv_node* node, int32_t index, double** rows,
                                         double** cols, uint32_t* count);

/** The two point lists of an XLD parallel pair, each with its own count. */
QV_API int32_t qv_extract_parallel_lines(qv_reader* reader, const qv_node* node, int32_t index, double** rows1,
                                         double** cols1, uint32_t* count1, double** rows2, double** cols2,
                                         uint32_t* count2);

/** The runs of a region: row, first column and last column (both included) of each horizontal run. */
QV_API int32_t qv_extract_region_runs(qv_reader* reader, const qv_node* node, int32_t index, int32_t** rows,
                                      int32_t** column_begins, int32_t** column_ends, uint32_t* count);

/** Frees a buffer of any qv_extract_* call; null is ignored. The three are one operation under three names. */
QV_API void qv_free_buffer(uint8_t* buffer);
/** The same as qv_free_buffer. */
QV_API void qv_free_double_buffer(double* buffer);
/** The same as qv_free_buffer. */
QV_API void qv_free_int_buffer(int32_t* buffer);

/** @} */

/** @name Writing
 * @{ */

/** Writes all objects of an object node; 1 or 0. The path's extension, in upper or lower case, decides the format:
 * "hobj" is an object file, "dxf" is for contours and polygons, anything else is the image format of that name ("png",
 * "tif", "jpg", "bmp", ...). A node of another kind fails with an empty last-error text. */
QV_API int32_t qv_save_object_as(qv_reader* reader, const qv_node* node, const qv_char* path);

/** Writes the objects of `count` nodes, in order, to one object file, whatever the path's extension; 1 or 0. The first
 * must be an object node, or the call fails with an empty text. Later nodes of another kind and null ones are left
 * out. */
QV_API int32_t qv_save_objects_as(qv_reader* reader, const qv_node* const* nodes, int32_t count, const qv_char* path);

/** Reads one dictionary file and writes it as another, in the format of the output path's extension; 1 or 0. The
 * Reader's tree stays. Content that the output cannot hold is a failure, or is left out when `lenient` is not 0. */
QV_API int32_t qv_reader_convert_dict_file(qv_reader* reader, const qv_char* input_path, const qv_char* output_path,
                                           int32_t lenient);

/** @} */

/** @name Version
 * @{ */

/** The version of the HALCON that the library runs against, or "unknown". HALCON is asked once per process. The text is
 * valid until the library is unloaded. */
QV_API const qv_char* qv_adapter_halcon_version(void);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
