#include "output/save.h"

#include <string_view>

#include "HalconCpp.h"
#include "platform/path_text.h"
#include "platform/text.h"
#include "tree/objects.h"

namespace quovel {

using HalconCpp::HObject;
using HalconCpp::HTuple;

namespace {

bool is_polygons(const Node& node) {
  return node.rare() && std::u16string_view(node.rare()->object_class) == u"xld_poly";
}

// The name of the image format in HALCON, for an extension.
std::u16string image_format(const std::u16string& extension) {
  if (extension == u"jpeg") return u"jpg";
  if (extension == u"tif") return u"tiff";
  return extension;
}

void write_objects(const Node& node, const std::u16string& path) {
  const HObject objects = held_object(node);
  const std::u16string extension = file_extension(path);
  const HTuple file(to_halcon(path));
  if (extension == u"hobj")
    HalconCpp::WriteObject(objects, file);
  else if (extension == u"dxf" && is_polygons(node))
    HalconCpp::WritePolygonXldDxf(objects, file);
  else if (extension == u"dxf")
    HalconCpp::WriteContourXldDxf(objects, file);
  else
    HalconCpp::WriteImage(objects, HTuple(to_halcon(image_format(extension))), 0, file);
}

// The collection is both input and output of each step. Nobody else shares it then, so that the provider may append in
// place: the time is linear.
HObject collect_objects(std::span<const Node* const> nodes) {
  HObject collected = held_object(*nodes.front());
  for (const Node* node : nodes.subspan(1))
    if (node && node->kind == NodeKind::Object) HalconCpp::ConcatObj(collected, held_object(*node), &collected);
  return collected;
}

}  // namespace

bool save_object_as(const Node& node, const std::u16string& path) {
  if (node.kind != NodeKind::Object) return false;
  write_objects(node, path);
  return true;
}

bool save_objects_as(std::span<const Node* const> nodes, const std::u16string& path) {
  if (nodes.empty() || !nodes.front() || nodes.front()->kind != NodeKind::Object) return false;
  HalconCpp::WriteObject(collect_objects(nodes), HTuple(to_halcon(path)));
  return true;
}

}  // namespace quovel
