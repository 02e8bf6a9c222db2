#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "json_output.h"
#include "place.h"
#include "print_tree.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "selection.h"
#include "session.h"
#include "walk.h"

namespace host {

namespace {

class JsonPrinter {
 public:
  explicit JsonPrinter(std::FILE* out) : out_(out) {}

  // Begins the object of a file.
  void open_file(std::string_view file) {
    out_.raw("{\"format\":");
    out_.integer(json_format);
    out_.raw(",\"file\":");
    out_.string(file);
    out_.raw(",");
  }

  void fail(std::string_view error) {
    out_.raw("\"error\":");
    out_.string(error);
    out_.raw("}");
  }

  void open_node(const std::vector<Step>& steps, bool goes_below) {
    const qv_node* node = steps.back().node;
    const uint32_t kind = qv_node_kind(node);
    if (steps.size() > 1) out_.raw(is_first_ ? "{" : ",{");
    is_first_ = false;
    out_.raw("\"label\":");
    out_.string(qv_node_label(node));
    out_.raw(",\"kind\":\"");
    out_.raw(kind_name(node));
    out_.raw("\",\"type\":");
    out_.string(qv_node_type_label(node));
    out_.raw(",\"summary\":");
    out_.string(qv_node_value_summary(node));
    out_.raw(",\"path\":");
    out_.string(place_.of(steps));
    if (kind == QV_NODE_VALUE) write_values(node);
    if (kind == QV_NODE_OBJECT) write_object(node);
    if (steps.back().children == 0) return;
    out_.raw(",\"child_count\":");
    out_.integer(steps.back().children);
    if (!goes_below) return;
    out_.raw(",\"children\":[");
    is_first_ = true;
  }

  void close_node(const Step& step) {
    out_.raw(step.children > 0 ? "]}" : "}");
    is_first_ = false;
  }

  void finish() {
    out_.raw("\n");
    out_.flush();
  }

 private:
  void write_values(const qv_node* node) {
    out_.raw(",\"total_count\":");
    out_.integer(qv_node_total_count(node));
    out_.raw(qv_node_truncated(node) ? ",\"truncated\":true,\"values\":[" : ",\"truncated\":false,\"values\":[");
    const int64_t count = qv_node_value_count(node);
    for (int32_t i = 0; i < count; ++i) {
      if (i > 0) out_.raw(",");
      switch (qv_node_value_type_at(node, i)) {
        case QV_VALUE_STRING:
          out_.string(qv_node_value_string_at(node, i));
          break;
        case QV_VALUE_INTEGER:
          out_.integer(qv_node_value_int_at(node, i));
          break;
        default:
          out_.real(qv_node_value_real_at(node, i));
      }
    }
    out_.raw("]");
  }

  void write_object(const qv_node* node) {
    out_.raw(",\"class\":");
    out_.string(qv_node_object_class(node));
    out_.raw(qv_node_is_image(node) ? ",\"is_image\":true,\"object_count\":" : ",\"is_image\":false,\"object_count\":");
    out_.integer(qv_node_object_count(node));
    const int64_t lines = qv_node_detail_line_count(node);
    if (lines == 0) return;
    out_.raw(",\"details\":[");
    for (int32_t i = 0; i < lines; ++i) {
      if (i > 0) out_.raw(",");
      out_.string(qv_node_detail_line_at(node, i));
    }
    out_.raw("]");
  }

  JsonOutput out_;
  Place place_;
  bool is_first_ = true;  // the next node is the first of its parent
};

}  // namespace

void print_json(std::FILE* out, const qv_node* root, const std::string& file, const TreeStyle& style,
                const Selection& selection) {
  JsonPrinter printer(out);
  printer.open_file(file);
  walk(
      root, [&](const qv_node* node) { return selection.shows(node); },
      [&](const std::vector<Step>& steps) {
        const bool goes_below = style.depth < 0 || static_cast<int>(steps.size()) <= style.depth;
        printer.open_node(steps, goes_below);
        return goes_below;
      },
      [&](const std::vector<Step>& steps) { printer.close_node(steps.back()); });
  printer.finish();
}

void print_json_error(std::FILE* out, const std::string& file, const std::string& error) {
  JsonPrinter printer(out);
  printer.open_file(file);
  printer.fail(error);
  printer.finish();
}

}  // namespace host
