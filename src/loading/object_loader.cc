#include "loading/object_loader.h"

#include <optional>

#include "loading/sequence_file.h"
#include "platform/failure.h"
#include "platform/path_text.h"
#include "platform/text.h"
#include "tree/builders.h"

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

// Nothing when the sequence lists no file that can be read; then `error` tells why.
std::optional<HObject> read_sequence(const std::u16string& path, std::u16string& error) {
  const std::optional<HTuple> files = resolve_sequence(path, error);
  if (!files) return std::nullopt;
  return read_images(*files);
}

std::optional<HObject> read_objects(const std::u16string& path, std::u16string& error) {
  const std::u16string extension = file_extension(path);
  if (extension == u"seq") return read_sequence(path, error);
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
  root.type_label = u"file";
  root.value_summary = tree->count_text(count, u"object", u"objects");
  for (Hlong i = 0; i < count; ++i) {
    HObject object;
    HalconCpp::SelectObj(objects, &object, i + 1);
    const PathSegment segment = by_index(static_cast<std::uint32_t>(i));
    tree->append_child(root, build_object_node(*tree, object, child_label(*tree, path, i, count), segment));
  }
  tree->root = &root;
  return tree;
}

}  // namespace

std::unique_ptr<Tree> load_object_file(const std::u16string& path, std::u16string& error) {
  return catch_halcon(error, std::unique_ptr<Tree>(), [&]() -> std::unique_ptr<Tree> {
    const std::optional<HObject> objects = read_objects(path, error);
    return objects ? build_file_tree(path, *objects) : nullptr;
  });
}

}  // namespace quovel
