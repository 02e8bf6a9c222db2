#include "print_tree.h"

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "place.h"
#include "session.h"
#include "terminal.h"
#include "walk.h"

namespace host {

namespace {

class TreePrinter {
 public:
  TreePrinter(std::FILE* out, std::string title, const TreeStyle& style, const Selection& selection)
      : out_(out), title_(std::move(title)), style_(style), selection_(selection) {}

  bool enter(const std::vector<Step>& steps) {
    const qv_node* node = steps.back().node;
    write(branches(steps.size() > 1 ? steps.size() - 1 : 0, steps, true));
    write_line(node, steps.size() == 1 ? title_ : to_utf8(qv_node_label(node)));
    if (style_.details) write_details(steps);
    if (const std::string excerpt = selection_.excerpt(node); !excerpt.empty() && !style_.details)
      write_beside(steps, excerpt, color::yellow);
    const bool cut = style_.depth >= 0 && static_cast<int>(steps.size()) > style_.depth;
    if (cut && qv_node_child_count(node) > 0) write_cut(steps);
    return !cut;
  }

 private:
  void write(std::string_view text) const { std::fwrite(text.data(), 1, text.size(), out_); }
  void write_in(std::string_view in, const std::string& text) const {
    if (style_.color) write(in);
    write(text);
    if (style_.color) write(color::plain);
  }

  // The branches drawn to the left of a node: one per level above it.
  static std::string branches(std::size_t levels, const std::vector<Step>& steps, bool at_node) {
    std::string text;
    for (std::size_t i = 0; i < levels; ++i) {
      const bool last = steps[i].next == steps[i].children;
      const bool own = at_node && i + 1 == levels;
      text += own ? (last ? "└── " : "├── ") : (last ? "    " : "│   ");
    }
    return text;
  }

  void write_line(const qv_node* node, const std::string& name) const {
    const std::string type = to_utf8(qv_node_type_label(node));
    const std::string summary = printable(to_utf8(qv_node_value_summary(node)));
    write_in(color::bold, printable(name));
    write("  ");
    write_in(type.starts_with('<') ? color::red : color::blue, printable(type));
    if (!summary.empty()) write("  " + summary);
    write("\n");
  }

  // A separate line below that of the node.
  void write_beside(const std::vector<Step>& steps, const std::string& text, std::string_view in) const {
    write(branches(steps.size() - 1, steps, false));
    write_in(in, "    " + printable(text));
    write("\n");
  }

  void write_details(const std::vector<Step>& steps) const {
    const qv_node* node = steps.back().node;
    for (int32_t i = 0; i < qv_node_detail_line_count(node); ++i)
      write_beside(steps, to_utf8(qv_node_detail_line_at(node, i)), color::gray);
  }

  void write_cut(const std::vector<Step>& steps) const {
    write(branches(steps.size() - 1, steps, false));
    write_in(color::gray, "└── ... " + std::to_string(qv_node_child_count(steps.back().node)) + " below");
    write("\n");
  }

  std::FILE* out_;
  const std::string title_;
  const TreeStyle style_;
  const Selection& selection_;
};

}  // namespace

void print_tree(std::FILE* out, const qv_node* root, const std::string& title, const TreeStyle& style,
                const Selection& selection) {
  TreePrinter printer(out, title, style, selection);
  walk(
      root, [&](const qv_node* node) { return selection.shows(node); },
      [&](const std::vector<Step>& steps) { return printer.enter(steps); }, [](const std::vector<Step>&) {});
}

void print_list(std::FILE* out, const qv_node* root, const std::string& prefix, const TreeStyle& style,
                const Selection& selection) {
  Place place;
  walk(root, [&](const std::vector<Step>& steps) {
    const qv_node* node = steps.back().node;
    const std::string_view its_place = place.of(steps);
    if (selection.found(node)) {
      const std::string line = prefix + printable(std::string(its_place)) + '\t' +
                               printable(to_utf8(qv_node_type_label(node))) + '\t' +
                               printable(to_utf8(qv_node_value_summary(node))) + '\n';
      std::fwrite(line.data(), 1, line.size(), out);
    }
    return style.depth < 0 || static_cast<int>(steps.size()) <= style.depth;
  });
}

}  // namespace host
