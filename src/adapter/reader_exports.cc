// Creating and destroying Readers, the last-error text, and the parse exports.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "HalconCpp.h"
#include "adapter/reader.h"
#include "content/model_loaders.h"
#include "iconic/object_loader.h"
#include "platform/heap.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "tree/dict_loader.h"
#include "tree/node.h"
#include "tree/work.h"

using namespace quovel;

namespace {

// Regions are kept whole, also where they reach outside of every image. A HALCON that rejects the setting is used as it
// is, since creating a Reader cannot report a failure.
void keep_regions_whole() {
  try {
    HalconCpp::SetSystem("clip_region", "false");
  } catch (const HalconCpp::HException&) {
    return;
  }
}

std::vector<ReadingOption> copy_options(const qv_parse_option* options, int32_t count) {
  std::vector<ReadingOption> copies;
  if (!options || count < 1) return copies;
  copies.reserve(static_cast<std::size_t>(count));
  for (int32_t i = 0; i < count; ++i) {
    const qv_parse_option& option = options[i];
    const bool has_string = option.value_type == QV_VALUE_STRING && option.string_value;
    copies.push_back({option.key, option.value_type, has_string ? from_host(option.string_value) : std::u16string(),
                      option.int_value, option.real_value});
  }
  return copies;
}

}  // namespace

qv_reader* qv_reader_create(void) {
  return guarded(static_cast<qv_reader*>(nullptr), [] {
    keep_regions_whole();
    return to_host(new Reader);
  });
}

void qv_reader_destroy(qv_reader* reader) { delete from_host(reader); }

const qv_char* qv_reader_last_error(const qv_reader* reader) {
  return to_host(reader ? from_host(reader)->last_error.c_str() : empty_text);
}

const qv_node* qv_reader_parse_file(qv_reader* reader, const qv_char* path) {
  return parse(reader, path, [](const std::u16string& file, WorkList& list) { return load_dict_tree(file, {}, list); });
}

const qv_node* qv_reader_parse_file_with_options(qv_reader* reader, const qv_char* path, const qv_parse_option* options,
                                                 int32_t option_count) {
  return parse(reader, path, [&](const std::u16string& file, WorkList& list) {
    return load_dict_tree(file, copy_options(options, option_count), list);
  });
}

const qv_node* qv_reader_parse_object_file(qv_reader* reader, const qv_char* path) {
  return parse(reader, path, [](const std::u16string& file, WorkList&) { return load_object_file(file); });
}

const qv_node* qv_reader_parse_object_model_3d_file(qv_reader* reader, const qv_char* path) {
  return parse(reader, path, load_object_model_3d_tree);
}

const qv_node* qv_reader_parse_dl_model_file(qv_reader* reader, const qv_char* path) {
  return parse(reader, path, load_dl_model_tree);
}
