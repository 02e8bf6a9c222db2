#include "arguments.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "session.h"

namespace host {

namespace {

constexpr const char* showing = "What to show";
constexpr const char* reading = "Reading";
constexpr const char* of_json = "Reading JSON files; without effect on other files";
constexpr const char* acting = "Other actions than printing the tree; all but --json, --list and --diff take one file";

// Returns what is wrong with a value, or an empty text.
using Check = std::function<std::string(const std::string&)>;

// Rejects an empty value, which an unset shell variable gives.
std::string not_empty(const std::string& value) { return value.empty() ? "the value is empty" : ""; }

// Rejects a data file as OUT: in "--html *.png" the shell puts an input there.
std::string is_page_file(const std::string& value) {
  if (value.empty() || !has_known_extension(value)) return not_empty(value);
  return "'" + value + "' is the name of a data file, not of a page";
}

std::string is_number(const std::string& value) {
  int number = 0;
  const char* const end = value.data() + value.size();
  const auto [stop, error] = std::from_chars(value.data(), end, number);
  if (error == std::errc() && stop == end && number >= 0) return {};
  return "'" + value + "' is not a whole number from 0 to " + std::to_string(std::numeric_limits<int>::max());
}

std::string is_dictionary_file(const std::string& value) {
  if (value.empty() || kind_of_file(value) == FileKind::Dict) return not_empty(value);
  return "'" + value + "' does not end in .json or .hdict";
}

// Help that shows the argument of each option but not how it is checked.
class PlainFormatter : public CLI::Formatter {
 public:
  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string taken = option->get_type_name();
    return taken.empty() ? "" : " " + taken.substr(0, taken.find(':'));
  }
  std::string make_usage(const CLI::App*, std::string name) const override {
    return "Usage: " + name + " [OPTIONS] FILE...\n\nOf a folder, all files that the library reads are opened.\n";
  }
  std::string make_positionals(const CLI::App*) const override { return {}; }
};

void describe_reading(CLI::App& app, Arguments& arguments) {
  static constexpr struct {
    const char* name;
    int32_t key;
    const char* help;
  } options[] = {
      {"--json-true", QV_JSON_VALUE_TRUE, "Value for true: a text, an integer or a real"},
      {"--json-false", QV_JSON_VALUE_FALSE, "Value for false"},
      {"--json-null", QV_JSON_VALUE_NULL, "Value for null"},
      {"--json-arrays", QV_CONVERT_JSON_ARRAYS_TO, "How arrays are read: as tuple or dict"},
  };
  app.add_option("--kind", arguments.kind, "Kind of files: auto (by extension), object, dict, model3d, dlmodel")
      ->check(CLI::IsMember({"auto", "object", "dict", "model3d", "dlmodel"}))
      ->type_name("KIND")
      ->group(reading);
  for (const auto& option : options) {
    const auto keep = [&arguments, key = option.key](const std::string& value) {
      arguments.reading_options[key] = value;
    };
    CLI::Option* const added = app.add_option_function<std::string>(option.name, keep, option.help);
    if (option.key == QV_CONVERT_JSON_ARRAYS_TO) added->check(CLI::IsMember({"tuple", "dict"}));
    added->type_name("VALUE")->excludes("--convert")->group(of_json);  // converting copies values unchanged
  }
}

std::vector<CLI::Option*> describe_showing(CLI::App& app, Arguments& arguments) {
  app.add_option("--depth", arguments.depth, "Levels to show below the root")
      ->check(Check(is_number))
      ->type_name("N")
      ->group(showing);
  app.add_flag("--details", arguments.details, "Show detail lines: every object of a tuple, every row of a matrix")
      ->group(showing);
  return {
      app.add_option("--filter", arguments.wanted.filter,
                     "Only nodes with TEXT in the label, a type that begins with it,\n"
                     "or that kind: dict, array, value, object")
          ->type_name("TEXT")
          ->group(showing),
      app.add_option("--grep", arguments.wanted.grep, "Only nodes with TEXT in their values or detail lines")
          ->type_name("TEXT")
          ->group(showing),
  };
}

// The options that take exactly one file.
std::vector<CLI::Option*> describe_actions(CLI::App& app, Arguments& arguments) {
  return {
      app.add_option(
             "--html", arguments.html,
             "Write OUT, one page for a browser: the tree and every object drawn,\nof a folder a row for each file")
          ->check(Check(is_page_file))
          ->type_name("OUT"),
      app.add_option("--value", arguments.value_place, "Print all values of the node at PLACE, for example /parts/2")
          ->check(Check(not_empty))
          ->type_name("PLACE"),
      app.add_option("--extract", arguments.extract,
                     "Draw the object at PLACE into OUT: an image as .png,\n.tif or .npy (stored values), geometry as "
                     ".csv or .svg")
          ->check(Check(not_empty))
          ->type_name("PLACE OUT")
          ->expected(2),
      app.add_option("--save", arguments.save,
                     "Write the objects at one PLACE to OUT (.hobj, .dxf, .png, .tif, ...),\n"
                     "or those at several to one object file")
          ->check(Check(not_empty))
          ->type_name("PLACE... OUT")
          ->expected(2, 1 << 20),
      app.add_option("--convert", arguments.convert, "Write the dictionary file as OUT (.json, .hdict)")
          ->check(Check(is_dictionary_file))
          ->type_name("OUT"),
  };
}

void exclude_one_another(const std::vector<CLI::Option*>& options, const std::vector<CLI::Option*>& others) {
  for (CLI::Option* option : options)
    for (CLI::Option* other : others)
      if (other != option) option->excludes(other);
}

}  // namespace

const char* Arguments::one_file_option() const {
  if (!html.empty()) return "--html";
  if (!value_place.empty()) return "--value";
  if (!extract.empty()) return "--extract";
  if (!save.empty()) return "--save";
  return convert.empty() ? nullptr : "--convert";
}

std::string Arguments::output() const {
  if (!html.empty()) return html;
  if (!extract.empty()) return extract.back();
  return save.empty() ? convert : save.back();
}

void describe(CLI::App& app, Arguments& arguments) {
  app.formatter(std::make_shared<PlainFormatter>());
  app.add_option("FILE", arguments.files, "Files to open, and folders of such files")->required()->type_name("");
  const std::vector<CLI::Option*> selecting = describe_showing(app, arguments);
  std::vector<CLI::Option*> actions = {
      app.add_flag("--json", arguments.json, "Print each tree as one line of JSON"),
      app.add_flag(
          "--diff", arguments.diff,
          "Compare two files: nodes that only one has, values and pixels\nthat differ; exit code 1 when any do"),
      app.add_flag("--list", arguments.list, "Print one line per node: place, type and summary, separated by tabs"),
  };
  const std::vector<CLI::Option*> of_one_file = describe_actions(app, arguments);
  exclude_one_another(selecting, of_one_file);
  actions.insert(actions.end(), of_one_file.begin(), of_one_file.end());
  exclude_one_another(actions, actions);
  for (CLI::Option* action : actions) action->group(acting);
  app.add_option("--object", arguments.object, "With --extract: which object of a tuple, from 0")
      ->check(Check(is_number))
      ->type_name("N")
      ->needs("--extract")
      ->group(acting);
  app.add_flag("--lenient", arguments.lenient, "With --convert: leave out what the new format cannot hold")
      ->needs("--convert")
      ->group(acting);
  app.add_flag("--force", arguments.force, "Replace an existing file; an input is never replaced")->group(acting);
  describe_reading(app, arguments);
  app.allow_windows_style_options(false);  // "/0" is a place; on other systems it may be a path
  app.footer(
      "All text is UTF-8, including file names and PLACE.\n"
      "Exit codes: 0 success; 1 a file could not be opened or written, nothing was found,\nor --diff found a "
      "difference; 2 wrong arguments.");
}

}  // namespace host
