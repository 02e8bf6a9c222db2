// JSON, with the reading options that the last byte chooses.
#include <cstdint>
#include <string>
#include <vector>

#include "driver.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "support/host.h"

FUZZ_TARGET(input) {
  const auto [content, way] = fuzz::choose(input);
  const std::string path = fuzz::put("input.json", content);
  const std::u16string file = test::wide(path), value = way & 16 ? u"dict" : u"\xD800 tuple";
  std::vector<qv_parse_option> options;
  for (int32_t key = 0; key < 5; ++key)
    if (way >> key & 1) options.push_back({key, way >> 5, test::units(value), INT64_MIN + way, way / 7.0});
  const qv_node* root = qv_reader_parse_file_with_options(fuzz::reader(), test::units(file), options.data(),
                                                          static_cast<int32_t>(options.size()));
  fuzz::use_dict(root, path, !options.empty());
}
