// qv_inspect: shows what is in a HALCON data file, through the library's exported interface alone.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <map>
#include <string>
#include <vector>

#include "platform/console.h"
#include "print_tree.h"
#include "session.h"

namespace {

using namespace host;

constexpr int exit_failure = 1, exit_misuse = 2;

struct Arguments {
  std::string file;
  std::string kind = "auto";
  int depth = -1;
  bool details = false;
  bool json = false;
  std::map<int32_t, std::string> reading_options;
  std::string value_place;
};

FileKind chosen_kind(const Arguments& arguments) {
  static const std::map<std::string, FileKind> kinds = {{"dict", FileKind::Dict},
                                                        {"object", FileKind::Object},
                                                        {"model3d", FileKind::Model3d},
                                                        {"dlmodel", FileKind::DlModel}};
  const auto chosen = kinds.find(arguments.kind);
  return chosen == kinds.end() ? kind_of_file(arguments.file) : chosen->second;
}

std::string file_name(const std::string& path) { return path.substr(path.find_last_of("/\\") + 1); }

void print_value(const Session& session, const qv_node* root, const std::string& place) {
  const qv_node* node = find_node(root, place);
  if (qv_node_kind(node) != QV_NODE_VALUE) throw Failure("'" + place + "' holds no values");
  std::puts(to_utf8(qv_node_full_value_text(session.reader(), node)).c_str());
}

void inspect(const Arguments& arguments) {
  Session session;
  std::vector<ReadingOption> options;
  for (const auto& [key, value] : arguments.reading_options) options.push_back({key, value});
  const qv_node* root = session.open(arguments.file, chosen_kind(arguments), options);
  const TreeStyle style{quovel::output_is_terminal(), arguments.details, arguments.depth};
  if (!arguments.value_place.empty()) return print_value(session, root, arguments.value_place);
  if (arguments.json) return print_json(stdout, root, style);
  print_tree(stdout, root, file_name(arguments.file), style);
}

void describe(CLI::App& app, Arguments& arguments) {
  app.add_option("FILE", arguments.file, "The file to open")->required();
  app.add_option("--kind", arguments.kind, "What the file is: auto (by extension), object, dict, model3d, dlmodel")
      ->check(CLI::IsMember({"auto", "object", "dict", "model3d", "dlmodel"}));
  app.add_option("--depth", arguments.depth, "Levels to show below the root")->check(CLI::NonNegativeNumber);
  app.add_flag("--details", arguments.details, "Show the detail lines: every object of a tuple, every row of a matrix");
  app.add_flag("--json", arguments.json, "Print the tree as JSON");
  app.add_option("--value", arguments.value_place, "Print all values of the node at this place, for example /parts/2");
}

int misuse(const CLI::App& app, const CLI::ParseError& error) {
  std::fprintf(stderr, "qv_inspect: %s\nTry 'qv_inspect --help'.\n", error.what());
  (void)app;
  return exit_misuse;
}

}  // namespace
int main() {}
