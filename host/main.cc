// qv_inspect: shows what is in a HALCON data file, through the library's exported interface alone.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <map>
#include <string>
#include <vector>

#include "extract_file.h"
#include "html_page.h"
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
  std::map<int32_t, std::string> reading_options;  // by qv_parse_option_key_value
  int object = 0;
  // What to do; at most one of these, otherwise the tree is printed.
  bool json = false;
  std::string html;
  std::string value_place;
  std::vector<std::string> extract;  // place, output
  std::vector<std::string> save;     // places..., output
  std::string convert;
  bool lenient = false;
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
  if (qv_node_kind(node) != QV_NODE_VALUE) throw Failure("the node at '" + place + "' holds no values");
  std::puts(to_utf8(qv_node_full_value_text(session.reader(), node)).c_str());
}

void save_nodes(const Session& session, const qv_node* root, const std::vector<std::string>& arguments) {
  const std::u16string path = to_utf16(arguments.back());
  std::vector<const qv_node*> nodes;
  for (std::size_t i = 0; i + 1 < arguments.size(); ++i) {
    nodes.push_back(find_node(root, arguments[i]));
    if (qv_node_kind(nodes.back()) != QV_NODE_OBJECT)
      throw Failure("the node at '" + arguments[i] + "' holds no objects");
  }
  const bool saved = nodes.size() == 1 ? qv_save_object_as(session.reader(), nodes[0], units(path)) == 1
                                       : qv_save_objects_as(session.reader(), nodes.data(),
                                                            static_cast<int32_t>(nodes.size()), units(path)) == 1;
  if (!saved) session.fail("'" + arguments.back() + "' could not be written");
}

void write_page(const Session& session, const qv_node* root, const Arguments& arguments) {
  write_file(arguments.html, html_page(session, root, file_name(arguments.file)));
  std::printf("Wrote %s: open it in a browser\n", arguments.html.c_str());
}

void convert_file(const Arguments& arguments) {
  const Session session;
  const std::u16string from = to_utf16(arguments.file), to = to_utf16(arguments.convert);
  if (qv_reader_convert_dict_file(session.reader(), units(from), units(to), arguments.lenient ? 1 : 0) != 1)
    session.fail("'" + arguments.convert + "' could not be written");
}

void inspect(const Arguments& arguments) {
  Session session;
  std::vector<ReadingOption> options;
  for (const auto& [key, value] : arguments.reading_options) options.push_back({key, value});
  const qv_node* root = session.open(arguments.file, chosen_kind(arguments), options);
  const TreeStyle style{quovel::output_is_terminal(), arguments.details, arguments.depth};
  if (!arguments.value_place.empty()) return print_value(session, root, arguments.value_place);
  if (!arguments.save.empty()) return save_nodes(session, root, arguments.save);
  if (!arguments.extract.empty())
    return extract_to_file(session, find_node(root, arguments.extract[0]), arguments.object, arguments.extract[1]);
  if (!arguments.html.empty()) return write_page(session, root, arguments);
  if (arguments.json) return print_json(stdout, root, style);
  print_tree(stdout, root, file_name(arguments.file), style);
}

void describe_reading(CLI::App& app, Arguments& arguments) {
  static constexpr struct {
    const char* name;
    int32_t key;
    const char* help;
  } options[] = {
      {"--json-true", QV_JSON_VALUE_TRUE, "What JSON's true becomes: a text, an integer or a real"},
      {"--json-false", QV_JSON_VALUE_FALSE, "What JSON's false becomes"},
      {"--json-null", QV_JSON_VALUE_NULL, "What JSON's null becomes"},
      {"--json-arrays", QV_CONVERT_JSON_ARRAYS_TO, "What JSON's arrays become: tuple or dict"},
  };
  for (const auto& option : options)
    app.add_option_function<std::string>(
           option.name,
           [&arguments, key = option.key](const std::string& value) { arguments.reading_options[key] = value; },
           option.help)
        ->type_name("VALUE")
        ->group("Reading");
}

void describe_actions(CLI::App& app, Arguments& arguments) {
  CLI::Option* actions[] = {
      app.add_flag("--json", arguments.json, "Print the tree as JSON"),
      app.add_option("--html", arguments.html, "Write OUT, one page for a browser: the tree and every object drawn")
          ->type_name("OUT"),
      app.add_option("--value", arguments.value_place, "Print all values of the node at PLACE, for example /parts/2")
          ->type_name("PLACE"),
      app.add_option("--extract", arguments.extract,
                     "Draw the object at PLACE into OUT: an image as .png, geometry as .csv or .svg")
          ->type_name("PLACE OUT")
          ->expected(2),
      app.add_option("--save", arguments.save,
                     "Write the objects at one PLACE to OUT (.hobj, .dxf, .png, .tif, ...), or those at several to one "
                     "object file")
          ->type_name("PLACE... OUT")
          ->expected(2, 1 << 20),
      app.add_option("--convert", arguments.convert, "Write the dictionary file as OUT (.json, .hdict)")
          ->type_name("OUT"),
  };
  for (CLI::Option* action : actions) {
    action->group("Instead of printing the tree");
    for (CLI::Option* other : actions)
      if (other != action) action->excludes(other);
  }
  app.add_option("--object", arguments.object, "With --extract: which object of a tuple, from 0")
      ->check(CLI::NonNegativeNumber)
      ->group("Instead of printing the tree");
  app.add_flag("--lenient", arguments.lenient, "With --convert: leave out what the new format cannot hold")
      ->group("Instead of printing the tree");
}

void describe(CLI::App& app, Arguments& arguments) {
  app.add_option("FILE", arguments.file, "The file to open")->required()->type_name("");
  app.add_option("--kind", arguments.kind, "What the file is: auto (by extension), object, dict, model3d, dlmodel")
      ->check(CLI::IsMember({"auto", "object", "dict", "model3d", "dlmodel"}))
      ->type_name("KIND");
  app.add_option("--depth", arguments.depth, "Levels to show below the root")
      ->check(CLI::NonNegativeNumber)
      ->type_name("N");
  app.add_flag("--details", arguments.details, "Show the detail lines: every object of a tuple, every row of a matrix");
  describe_actions(app, arguments);
  describe_reading(app, arguments);
  app.set_version_flag(
      "--version", [] { return "qv_inspect " QV_INSPECT_VERSION ", HALCON " + to_utf8(qv_adapter_halcon_version()); });
}

int report(const std::string& message, int exit_code) {
  const bool colour = quovel::errors_are_on_terminal();
  std::fprintf(stderr, "%sqv_inspect:%s %s\n", colour ? "\033[1;31m" : "", colour ? "\033[0m" : "", message.c_str());
  return exit_code;
}

}  // namespace

int main(int argc, char** argv) try {
  quovel::prepare_terminal();
  CLI::App app(
      "Shows what is in a HALCON data file: images, objects, sequences, dictionaries, 3D and deep-learning models.",
      "qv_inspect");
  Arguments arguments;
  describe(app, arguments);
  try {
    std::vector<std::string> given = quovel::command_line(argc, argv);
    app.parse(std::vector<std::string>(given.rbegin(), given.rend() - 1));  // CLI11 takes them last first
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);  // --help, --version
    return report(std::string(error.what()) + "\nTry 'qv_inspect --help'.", exit_misuse);
  }
  if (arguments.convert.empty())
    inspect(arguments);
  else
    convert_file(arguments);
  return std::fflush(stdout) == 0 ? 0 : report("standard output cannot be written", exit_failure);
} catch (const std::exception& failure) {
  return report(failure.what(), exit_failure);
}
