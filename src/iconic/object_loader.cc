#include "iconic/object_loader.h"

#include <cstddef>
#include <cstdint>

#include "HalconCpp.h"
#include "iconic/object_builder.h"
#include "iconic/sequence_file.h"
#include "platform/path_text.h"
#include "platform/text.h"
#include "tree/objects.h"

namespace quovel {

using HalconCpp::Hlong;
using HalconCpp::HObject;
using HalconCpp::HTuple;

namespace {

HObject read_images(const HTuple& files) {
  HObject images;
  HalconCpp::ReadImage(&images, files);
  return images;
}

HObject read_objects(const std::u16string& path) {
  const std::u16string extension = file_extension(path);
  if (extension == u"seq") return read_images(resolve_sequence(path));
  const HTuple file(to_halcon(path));
  if (extension != u"hobj") return read_images(file);
  HObject objects;
  HalconCpp::ReadObject(&objects, file);
  return objects;
}

Text child_label(Tree& tree, const std::u16string& path, Hlong index, Hlong count) {
  if (count == 1) return tree.text(file_stem(path));
  std::u16string& text = tree.scratch();
  append_integer(text += u"Object ", index + 1);
  return tree.text(text);
}

std::unique_ptr<Tree> build_file_tree(const std::u16string& path, const HObject& objects) {
  HTuple number;
  HalconCpp::CountObj(objects, &number);
  const Hlong count = number[0].L();
  auto tree = std::make_unique<Tree>();
  Node& root = tree->make_node();
  root.type = TypeName::File;
  root.value_summary = tree->count_text(count, u"object", u"objects");
  tree->reserve_children(root, static_cast<std::size_t>(count));
  for (Hlong i = 0; i < count; ++i) {
    const PathSegment segment = by_index(static_cast<std::uint32_t>(i));
    Node& child = tree->add_child(root, NodeKind::Object, child_label(*tree, path, i, count), segment);
    build_object_node(*tree, child, select_object(objects, i));
  }
  tree->root = &root;
  return tree;
}

}  // namespace

std::unique_ptr<Tree> load_object_file(const std::u16string& path) { return build_file_tree(path, read_objects(path)); }

}  // namespace quovel
