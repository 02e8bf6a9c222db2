#include "iconic/object_builder.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "iconic/description.h"
#include "platform/text.h"
#include "tree/objects.h"

namespace quovel {

using HalconCpp::HObject;
using HalconCpp::HTuple;

namespace {

bool is_mixed(const HTuple& classes, std::u16string_view first) {
  for (HalconCpp::Hlong i = 1; i < classes.Length(); ++i)
    if (from_halcon(classes[i].S()) != first) return true;
  return false;
}

std::u16string with_count(std::u16string text, std::int32_t count) {
  append_integer(text += u'[', count);
  return text += u']';
}

// "region", "image", and with their number "region[3]", "images[3]".
std::u16string object_type_label(std::u16string object_class, std::int32_t count) {
  if (count < 2) return object_class;
  return with_count(object_class == u"image" ? u"images" : std::move(object_class), count);
}

std::u16string describe_one(std::u16string_view object_class, const HObject& object) {
  return object_class == u"image" ? describe_image_objects(object, 1) : describe_object(object_class, object);
}

std::u16string as_first(std::u16string description) {
  return description.empty() ? description : description += u" (first)";
}

std::u16string summary(const HObject& objects, std::u16string_view first, bool mixed, std::int32_t count) {
  if (mixed) return as_first(describe_one(first, select_object(objects, 0)));
  if (first == u"image") return describe_image_objects(objects, count);
  if (count < 2) return describe_object(first, objects);
  return as_first(describe_object(first, select_object(objects, 0)));
}

void add_detail_lines(Tree& tree, RareFields& part, const HTuple& classes, std::int32_t count) {
  part.detail_entry_count = static_cast<std::uint32_t>(count);
  part.detail_lines = tree.make_lines(static_cast<std::size_t>(count));
  for (std::int32_t i = 0; i < count; ++i) {
    std::u16string line = from_halcon(classes[i].S());
    const std::u16string description = describe_one(line, select_object(part.held_object, i));
    part.detail_lines[static_cast<std::size_t>(i)] = tree.text((line += u": ") += description);
  }
}

void make_empty(Tree& tree, Node& node, const HObject& objects) {
  tree.set_type_label(node, u"empty_obj");
  RareFields& part = tree.make_rare(node);
  part.object_class = u"empty_obj";
  part.object_count = 0;
  part.held_object = objects;
}

}  // namespace

void build_object_node(Tree& tree, Node& node, const HObject& objects) {
  node.kind = NodeKind::Object;
  HTuple classes, number;
  HalconCpp::GetObjClass(objects, &classes);
  if (classes.Length() == 0) return make_empty(tree, node, objects);
  const std::u16string first = from_halcon(classes[0].S());
  const bool mixed = is_mixed(classes, first);
  HalconCpp::CountObj(objects, &number);
  const auto count = static_cast<std::int32_t>(number[0].L());

  RareFields& part = tree.make_rare(node);
  part.object_class = tree.text(mixed ? u"mixed" : first);
  part.is_image = first == u"image";
  part.object_count = static_cast<std::uint32_t>(count);
  part.held_object = objects;
  tree.set_type_label(node, tree.text(mixed ? with_count(u"mixed", count) : object_type_label(first, count)));
  node.value_summary = tree.text(summary(objects, first, mixed, count));
  if (count >= 2) add_detail_lines(tree, part, classes, count);
}

}  // namespace quovel
