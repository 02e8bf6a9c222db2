#include "print_tree.h"

#include <string_view>

#include "session.h"
#include "walk.h"

namespace host {

namespace {

constexpr std::string_view bold = "\033[1m", blue = "\033[34m", red = "\033[31m", grey = "\033[90m", plain = "\033[0m";

// Control characters would move the cursor or change the line: shown as escapes.
std::string printable(const std::string& text) {
  static constexpr char digits[] = "0123456789abcdef";
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte == '\n') {
      result += "\\n";
    } else if (byte == '\t') {
      result += "\\t";
    } else if (byte < 0x20 || byte == 0x7F) {
      result += {'\\', 'x', digits[byte >> 4], digits[byte & 15]};
    } else {
      result += c;
    }
  }
  return result;
}

class TreePrinter {
 public:
  TreePrinter(std::FILE* out, std::string title, const TreeStyle& style)
      : out_(out), title_(std::move(title)), style_(style) {}

  bool enter(const std::vector<Step>& steps) {
    const qv_node* node = steps.back().node;
    write(branches(steps.size() > 1 ? steps.size() - 1 : 0, steps, true));
    write_line(node, steps.size() == 1 ? title_ : to_utf8(qv_node_label(node)));
    if (style_.details) write_details(steps);
    const bool cut = style_.depth >= 0 && static_cast<int>(steps.size()) > style_.depth;
    if (cut && qv_node_child_count(node) > 0) write_cut(steps);
    return !cut;
  }

 private:
  void write(std::string_view text) const { std::fwrite(text.data(), 1, text.size(), out_); }
  void write_in(std::string_view colour, const std::string& text) const {
    if (style_.colour) write(colour);
    write(text);
    if (style_.colour) write(plain);
  }

  // The lines to the left of a node: one per level above it.
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
    write_in(bold, printable(name));
    write("  ");
    write_in(type.starts_with('<') ? red : blue, printable(type));
    if (!summary.empty()) write("  " + summary);
    write("\n");
  }

  void write_details(const std::vector<Step>& steps) const {
    const qv_node* node = steps.back().node;
    for (int32_t i = 0; i < qv_node_detail_line_count(node); ++i) {
      write(branches(steps.size() - 1, steps, false));
      write_in(grey, "    " + printable(to_utf8(qv_node_detail_line_at(node, i))));
      write("\n");
    }
  }

  void write_cut(const std::vector<Step>& steps) const {
    write(branches(steps.size() - 1, steps, false));
    write_in(grey, "└── ... " + std::to_string(qv_node_child_count(steps.back().node)) + " below");
    write("\n");
  }

  std::FILE* out_;
  const std::string title_;
  const TreeStyle style_;
};

}  // namespace

void print_tree(std::FILE* out, const qv_node* root, const std::string& title, const TreeStyle& style) {
  TreePrinter printer(out, title, style);
  walk(
      root, [&](const std::vector<Step>& steps) { return printer.enter(steps); }, [](const std::vector<Step>&) {});
}

}  // namespace host
