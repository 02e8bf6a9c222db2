#include "output/save.h"

#include <string_view>

#include "platform/failure.h"
#include "platform/path_text.h"

namespace quovel {

using HalconCpp::HObject;
using HalconCpp::HTuple;

namespace {

// A node that stands for a handle holds an unset object, which HALCON refuses by name.
HObject held_object(const Node& node) { return node.object ? node.object->held_object : HObject(); }

bool is_polygons(const Node& node) {
  return node.object && std::u16string_view(node.object->object_class) == u"xld_poly";
}

// HALCON's name of the image format for an extension that goes by another.
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

HObject collect_objects(std::span<const Node* const> nodes) {
  HObject collected = held_object(*nodes.front());
  for (const Node* node : nodes.subspan(1)) {
    if (!node || node->kind != NodeKind::Object) continue;
    HObject longer;
    HalconCpp::ConcatObj(collected, held_object(*node), &longer);
    collected = longer;
  }
  return collected;
}

}  // namespace

bool save_object_as(const Node& node, const std::u16string& path, std::u16string& error) {
  if (node.kind != NodeKind::Object) return false;
  return catch_halcon(error, false, [&] {
    write_objects(node, path);
    return true;
  });
}

bool save_objects_as(std::span<const Node* const> nodes, const std::u16string& path, std::u16string& error) {
  if (nodes.empty() || !nodes.front() || nodes.front()->kind != NodeKind::Object) return false;
  return catch_halcon(error, false, [&] {
    HalconCpp::WriteObject(collect_objects(nodes), HTuple(to_halcon(path)));
    return true;
  });
}

}  // namespace quovel
