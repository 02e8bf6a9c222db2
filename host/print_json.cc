#include <rapidjson/filewritestream.h>
#include <rapidjson/writer.h>

#include <cmath>
#include <string_view>

#include "place.h"
#include "print_tree.h"

namespace host {

namespace {

class JsonPrinter {
 public:
  explicit JsonPrinter(std::FILE* out) : stream_(out, buffer_, sizeof buffer_), writer_(stream_) {}

  // The object of a whole file begins.
  void open_file(const std::string& file) {
    writer_.StartObject();
    key("format");
    writer_.Int(json_format);
    key("file");
    string(file);
  }

  void fail(const std::string& error) {
    key("error");
    string(error);
    writer_.EndObject();
  }

  void open_node(const std::vector<Step>& steps, bool goes_below) {
    const qv_node* node = steps.back().node;
    if (steps.size() > 1) writer_.StartObject();
    member("label", qv_node_label(node));
    key("kind");
    string(kind_name(node));
    member("type", qv_node_type_label(node));
    member("summary", qv_node_value_summary(node));
    key("path");
    string(place_of(steps));
    if (qv_node_kind(node) == QV_NODE_VALUE) write_values(node);
    if (qv_node_kind(node) == QV_NODE_OBJECT) write_object(node);
    if (qv_node_child_count(node) == 0) return;
    key("child_count");
    writer_.Int64(qv_node_child_count(node));
    if (!goes_below) return;
    key("children");
    writer_.StartArray();
  }

  void close_node(const Step& step) {
    if (step.children > 0) writer_.EndArray();
    writer_.EndObject();
  }

  void finish() {
    stream_.Put('\n');
    stream_.Flush();
  }

 private:
  void key(const char* name) { writer_.Key(name); }
  void string(std::string_view text) { writer_.String(text.data(), static_cast<rapidjson::SizeType>(text.size())); }
  void member(const char* name, const qv_char* text) {
    key(name);
    string(to_utf8(text));
  }

  // JSON has no infinity and no NaN: null stands for them.
  void real(double value) { std::isfinite(value) ? writer_.Double(value) : writer_.Null(); }

  void write_values(const qv_node* node) {
    key("total_count");
    writer_.Uint(qv_node_total_count(node));
    key("truncated");
    writer_.Bool(qv_node_truncated(node) != 0);
    key("values");
    writer_.StartArray();
    for (int32_t i = 0; i < qv_node_value_count(node); ++i) {
      switch (qv_node_value_type_at(node, i)) {
        case QV_VALUE_STRING:
          string(to_utf8(qv_node_value_string_at(node, i)));
          break;
        case QV_VALUE_INTEGER:
          writer_.Int64(qv_node_value_int_at(node, i));
          break;
        default:
          real(qv_node_value_real_at(node, i));
      }
    }
    writer_.EndArray();
  }

  void write_object(const qv_node* node) {
    member("class", qv_node_object_class(node));
    key("is_image");
    writer_.Bool(qv_node_is_image(node) != 0);
    key("object_count");
    writer_.Uint(qv_node_object_count(node));
    if (qv_node_detail_line_count(node) == 0) return;
    key("details");
    writer_.StartArray();
    for (int32_t i = 0; i < qv_node_detail_line_count(node); ++i) string(to_utf8(qv_node_detail_line_at(node, i)));
    writer_.EndArray();
  }

  char buffer_[65536];
  rapidjson::FileWriteStream stream_;
  rapidjson::Writer<rapidjson::FileWriteStream> writer_;
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
