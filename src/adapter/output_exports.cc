// Saving, converting, and the version.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "adapter/reader.h"
#include "output/convert.h"
#include "output/save.h"
#include "output/version.h"
#include "platform/heap.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "tree/node.h"

using namespace quovel;

int32_t qv_save_object_as(qv_reader* host_reader, const qv_node* node, const qv_char* path) {
  if (!host_reader || !node || !path) return 0;
  return guarded(*from_host(host_reader), 0, [&] { return save_object_as(*from_host(node), from_host(path)) ? 1 : 0; });
}

int32_t qv_save_objects_as(qv_reader* host_reader, const qv_node* const* nodes, int32_t count, const qv_char* path) {
  if (!host_reader || !nodes || count < 1 || !path) return 0;
  return guarded(*from_host(host_reader), 0, [&] {
    std::vector<const Node*> copies;
    for (int32_t i = 0; i < count; ++i) copies.push_back(from_host(nodes[i]));
    return save_objects_as(copies, from_host(path)) ? 1 : 0;
  });
}

int32_t qv_reader_convert_dict_file(qv_reader* host_reader, const qv_char* input_path, const qv_char* output_path,
                                    int32_t lenient) {
  if (!host_reader || !input_path || !output_path) return 0;
  return guarded(*from_host(host_reader), 0, [&] {
    convert_dict_file(from_host(input_path), from_host(output_path), lenient != 0);
    return 1;
  });
}

const qv_char* qv_adapter_halcon_version(void) {
  return guarded(to_host(u"unknown"), [] { return to_host(halcon_version_text().c_str()); });
}
