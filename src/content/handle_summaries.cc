#include "content/handle_summaries.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "platform/text.h"

namespace quovel {

using HalconCpp::Hlong;
using HalconCpp::HTuple;

namespace {

constexpr int matrix_digits = 6;
constexpr int model_digits = 15;

// A number that always looks like a real: ".0" is added to one that has neither a point nor an exponent.
void append_real(std::u16string& text, double value, int digits) {
  const std::size_t start = text.size();
  append_general(text, value, digits);
  const std::u16string_view written = std::u16string_view(text).substr(start);
  const bool is_complete = written.find_first_of(u".eE") != written.npos || written.find(u"inf") != written.npos ||
                           written.find(u"nan") != written.npos;
  if (!is_complete) text += u".0";
}

void append_reals(std::u16string& text, const HTuple& values, Hlong count) {
  for (Hlong i = 0; i < count; ++i) {
    if (i > 0) text += u", ";
    append_real(text, values[i].D(), model_digits);
  }
}

Text matrix_line(Tree& tree, const HTuple& values, Hlong first, Hlong columns) {
  std::u16string& text = tree.scratch();
  text += u"[ ";
  for (Hlong column = 0; column < columns; ++column) {
    if (column > 0) text += u"  ";
    append_real(text, values[first + column].D(), matrix_digits);
  }
  return tree.text(text += u" ]");
}

HTuple model_parameter(const HTuple& model, const char* name) {
  HTuple values;
  HalconCpp::GetObjectModel3dParams(model, name, &values);
  return values;
}

void append_extent(std::u16string& text, const HTuple& model) {
  const HTuple center = model_parameter(model, "center");
  const HTuple diameter = model_parameter(model, "diameter_axis_aligned_bounding_box");
  const HTuple box = model_parameter(model, "bounding_box1");
  append_reals(text += u", center: [", center, 3);
  append_reals(text += u"], diameter: ", diameter, 1);
  append_reals(text += u", bounding box: [", box, box.Length());
  text += u"]";
}

std::u16string primitive_type(const HTuple& model, bool has_primitive) {
  return has_primitive ? from_halcon(model_parameter(model, "primitive_type")[0].S()) : u"none";
}

bool has_primitive_data(const HTuple& model) {
  return model_parameter(model, "has_primitive_data")[0].S().Text() == std::string_view("true");
}

RareFields& make_handle_summary(Tree& tree, Node& node, Text type) {
  node.kind = NodeKind::Object;
  tree.set_type_label(node, type);
  RareFields& part = tree.make_rare(node);
  part.object_class = type;
  part.detail_entry_count = 1;
  return part;
}

}  // namespace

void build_matrix_node(Tree& tree, Node& node, const HTuple& handle) {
  HTuple row_counts, column_counts, values;
  HalconCpp::GetSizeMatrix(handle, &row_counts, &column_counts);
  const Hlong rows = row_counts[0].L();
  const Hlong columns = column_counts[0].L();
  HalconCpp::GetFullMatrix(handle, &values);
  RareFields& part = make_handle_summary(tree, node, u"matrix");
  std::u16string& text = tree.scratch();
  append_integer(text, columns);
  append_integer(text += u'x', rows);
  node.value_summary = tree.text(text);
  part.detail_lines = tree.make_lines(static_cast<std::size_t>(rows));
  for (Hlong row = 0; row < rows; ++row)
    part.detail_lines[static_cast<std::size_t>(row)] = matrix_line(tree, values, row * columns, columns);
}

void build_object_model_3d_node(Tree& tree, Node& node, const HTuple& handle) {
  const Hlong points = model_parameter(handle, "num_points")[0].L();
  const bool has_primitive = has_primitive_data(handle);
  const std::u16string primitive = primitive_type(handle, has_primitive);
  RareFields& part = make_handle_summary(tree, node, u"object_model_3d");
  std::u16string& summary = tree.scratch();
  append_integer(summary += u"points: ", points);
  node.value_summary = tree.text(summary);

  std::u16string& line = tree.scratch();
  append_integer(line += u"object_model_3d: points: ", points);
  if (points > 0 || has_primitive) append_extent(line, handle);
  line += u", primitive type: ";
  part.detail_lines = tree.make_lines(1);
  part.detail_lines[0] = tree.text(line += primitive);
}

}  // namespace quovel
