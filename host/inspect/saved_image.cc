#include "saved_image.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "files.h"
#include "target_file.h"

namespace host {

namespace {

void save_one(const Session& session, const qv_node* node, const std::string& path) {
  const std::u16string to = to_utf16(path);
  if (qv_save_object_as(session.reader(), node, units(to)) != 1) session.fail("the image could not be saved");
}

// An image file takes one image: of several, one node each is made by way of an object file beside it.
void save(const Session& session, const qv_node* node, std::int32_t index, const std::string& path) {
  if (qv_node_object_count(node) == 1) return save_one(session, node, path);
  const std::string objects = path.substr(0, path.rfind('.')) + ".hobj";
  save_one(session, node, objects);
  Session again;
  save_one(again, qv_node_child_at(again.open(objects, FileKind::Object), index), path);
}

}  // namespace

std::string saved_image(const Session& session, const qv_node* node, std::int32_t index, const std::string& extension) {
  std::string content;
  with_temporary_file(extension, [&](const std::string& path) {
    save(session, node, index, path);
    std::ifstream file(native_path(path), std::ios::binary);
    content.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  });
  return content;
}

}  // namespace host
