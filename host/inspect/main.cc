// qv_inspect: shows what is in HALCON data files, through the library's exported interface alone.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <iostream>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "arguments.h"
#include "diff_files.h"
#include "exact_values.h"
#include "extract_file.h"
#include "files.h"
#include "html_page.h"
#include "place.h"
#include "platform/console.h"
#include "platform/desktop.h"
#include "platform/interrupts.h"
#include "print_tree.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "selection.h"
#include "session.h"
#include "target_file.h"
#include "terminal.h"

namespace {

using namespace host;

constexpr int exit_failure = 1, exit_misuse = 2;
constexpr const char* hint = "Try 'qv_inspect --help'.\n";

// Prints one line, whatever text of files and arguments `message` contains.
int report(const std::string& message, int exit_code, const char* more = "") {
  const bool colored = errors_have_color();
  const std::string begin(colored ? color::bright_red : ""), end(colored ? color::plain : "");
  std::fflush(stdout);  // so that a terminal shows both in order
  std::fprintf(stderr, "%sqv_inspect:%s %s\n%s", begin.c_str(), end.c_str(), printable(message).c_str(), more);
  return exit_code;
}

FileKind chosen_kind(const Arguments& arguments, const std::string& file) {
  static const std::map<std::string, FileKind> kinds = {{"dict", FileKind::Dict},
                                                        {"object", FileKind::Object},
                                                        {"model3d", FileKind::Model3d},
                                                        {"dlmodel", FileKind::DlModel}};
  const auto chosen = kinds.find(arguments.kind);
  return chosen == kinds.end() ? kind_of_file(file) : chosen->second;
}

std::vector<ReadingOption> reading_options(const Arguments& arguments) {
  std::vector<ReadingOption> options;
  for (const auto& [key, value] : arguments.reading_options) options.push_back({key, value});
  return options;
}

const qv_node* open_file(Session& session, const Arguments& arguments, const std::string& file) {
  return session.open(file, chosen_kind(arguments, file), reading_options(arguments));
}

// ---- Actions on one file

std::string value_text(Session& session, const Arguments& arguments, const std::string& file) {
  const std::string& place = arguments.value_place;
  const qv_node* node = find_node(open_file(session, arguments, file), place);
  if (qv_node_kind(node) != QV_NODE_VALUE) throw Failure("the node at '" + place + "' holds no values");
  const auto [text, exact] =
      exact_value_text(session, chosen_kind(arguments, file), reading_options(arguments), node, place);
  if (!exact) report("reals after the first 1000 values have six digits: the library keeps no more", 0);
  return (quovel::output_is_terminal() ? printable(text) : text) + "\n";
}

TargetFile target_file(const Arguments& arguments, const std::string& path, const std::string& input) {
  return TargetFile(path, files_read_with(input), {arguments.force, {}});
}

void save_nodes(const Session& session, const qv_node* root, const std::vector<std::string>& arguments,
                const TargetFile& target) {
  std::vector<const qv_node*> nodes;
  for (std::size_t i = 0; i + 1 < arguments.size(); ++i) {
    nodes.push_back(find_node(root, arguments[i]));
    if (qv_node_kind(nodes.back()) != QV_NODE_OBJECT)
      throw Failure("the node at '" + arguments[i] + "' holds no objects");
  }
  target.save([&](const std::string& file) {
    const std::u16string path = to_utf16(file);
    const int32_t saved = nodes.size() == 1 ? qv_save_object_as(session.reader(), nodes[0], units(path))
                                            : qv_save_objects_as(session.reader(), nodes.data(),
                                                                 static_cast<int32_t>(nodes.size()), units(path));
    if (saved != 1) session.fail("'" + arguments.back() + "' could not be written");
  });
}

void convert_file(const Session& session, const Arguments& arguments, const std::string& file) {
  target_file(arguments, arguments.convert, file).save([&](const std::string& path) {
    const std::u16string from = to_utf16(file), to = to_utf16(path);
    if (qv_reader_convert_dict_file(session.reader(), units(from), units(to), arguments.lenient ? 1 : 0) != 1)
      session.fail("'" + arguments.convert + "' could not be written");
  });
}

// One page of all files. Returns what is to be printed.
std::string write_page(const Arguments& arguments, const std::vector<InputFile>& files) {
  remove_unfinished_files_when_interrupted();
  std::vector<PageFile> shown;
  std::vector<std::string> inputs;
  for (const InputFile& file : files) {
    shown.push_back({file.path, chosen_kind(arguments, file.path), file.error});
    for (const std::string& input : files_read_with(file.path)) inputs.push_back(input);
  }
  std::string title = file_name(files.size() == 1 ? files[0].path : arguments.files[0]);
  if (files.size() > 1 && (arguments.files.size() > 1 || title.empty()))
    title = std::to_string(files.size()) + " files";
  const Progress progress("--html " + title);
  const TargetFile target(arguments.html, inputs, {arguments.force, html_page_prefix()});
  target.write(html_page(shown, reading_options(arguments), title));
  return "Wrote " + printable(arguments.html) + ": open it in a browser\n";
}

// Returns what is to be printed.
std::string act_on_file(const Arguments& arguments, const std::string& file) {
  remove_unfinished_files_when_interrupted();
  Session session;
  const Progress progress(arguments.one_file_option() + (" " + file_name(file)));
  if (!arguments.convert.empty()) {
    convert_file(session, arguments, file);
    return {};
  }
  if (!arguments.value_place.empty()) return value_text(session, arguments, file);
  // Before reading, which may take long.
  const TargetFile target = target_file(arguments, arguments.output(), file);
  const qv_node* root = open_file(session, arguments, file);
  if (!arguments.save.empty())
    save_nodes(session, root, arguments.save, target);
  else
    target.write(
        extracted_content(session, find_node(root, arguments.extract[0]), arguments.object, arguments.extract[1]));
  return {};
}

// ---- Showing one or more files

struct Counts {
  const Progress::Clock::time_point begin = Progress::Clock::now();
  std::size_t files = 0, tried = 0, failed = 0, nodes = 0, found = 0, shown_files = 0;
};

std::string counted(std::size_t count, const std::string& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

// "12 nodes", "3 of 12 nodes in 9 files, 1 not opened".
std::string summary(const Counts& counts, const Wanted& wanted) {
  std::string text = wanted.everything() ? "" : std::to_string(counts.found) + " of ";
  text += counted(counts.nodes, "node");
  if (counts.files > 1) text += " in " + counted(counts.files - counts.failed, "file");
  if (counts.failed > 0) text += ", " + std::to_string(counts.failed) + " not opened";
  return text;
}

void show_file(const Arguments& arguments, const InputFile& input, Counts& counts) {
  const std::string& file = input.path;
  Session session;
  const TreeStyle style{output_has_color(), arguments.details, arguments.depth};
  const bool several = counts.files > 1;
  const std::string number = std::to_string(++counts.tried) + " of " + std::to_string(counts.files) + ": ";
  if (!input.error.empty()) throw Failure(input.error);
  std::optional<Progress> progress(std::in_place, (several ? number : "Reading ") + file_name(file), counts.begin);
  const qv_node* root = open_file(session, arguments, file);
  const Selection selection(session, root, arguments.wanted);
  progress.reset();
  counts.nodes += selection.nodes();
  counts.found += selection.found_nodes();
  if (selection.found_nodes() == 0) return;
  if (arguments.json) return print_json(stdout, root, file, style, selection);
  if (arguments.list) return print_list(stdout, root, several ? printable(file) + "\t" : "", style, selection);
  if (counts.shown_files++ > 0) std::puts("");
  print_tree(stdout, root, several ? file : file_name(file), style, selection);
}

int show_files(const Arguments& arguments, const std::vector<InputFile>& files) {
  Counts counts;
  counts.files = files.size();
  for (const InputFile& file : files) {
    try {
      show_file(arguments, file, counts);
    } catch (const Failure& failure) {
      ++counts.failed;
      if (arguments.json) print_json_error(stdout, file.path, failure.what());
      report(failure.what(), exit_failure);
    }
  }
  const bool tells = !arguments.json && !arguments.list && counts.shown_files > 0;
  if (tells) std::printf("\n%s\n", summary(counts, arguments.wanted).c_str());
  if (counts.failed > 0) return exit_failure;
  return counts.found > 0 ? 0 : report("nothing was found in " + summary(counts, {}), exit_failure);
}

int compare_files(const Arguments& arguments, const std::vector<InputFile>& files) {
  if (files.size() != 2) return report("--diff takes two files, not " + std::to_string(files.size()), exit_misuse);
  Session before, after;
  for (const InputFile& file : files)
    if (!file.error.empty()) throw Failure(file.error);
  const qv_node* const first = open_file(before, arguments, files[0].path);
  const qv_node* const second = open_file(after, arguments, files[1].path);
  const Differences found = print_differences(stdout, before, first, after, second);
  if (found.none()) return 0;
  return report("the files differ: " + counted(found.added, "node") + " added, " + std::to_string(found.removed) +
                    " removed, " + std::to_string(found.changed) + " changed",
                exit_failure);
}

// What is done with files that were dropped on the program: a page of each, shown in the browser.
void show_pages(Arguments arguments, const std::vector<InputFile>& files) {
  for (const InputFile& file : files) {
    if (!file.error.empty()) throw Failure(file.error);
    arguments.html = quovel::temporary_folder() + "qv_inspect " + file_name(file.path) + ".html";
    const std::string told = write_page(arguments, {file});
    if (!quovel::show_on_desktop(arguments.html)) throw Failure(told + " (no browser could be started)");
  }
}

// The window of a program that was started from the desktop closes with it: nobody could read a message.
int wait_for_reader(int code) {
  if (!quovel::started_from_desktop()) return code;
  std::puts("Press Enter to close this window.");
  std::fflush(stdout);
  std::getchar();
  return code;
}

// Returns the exit code, or a failure if output was lost.
int finish(int code) {
  std::cout.flush();
  const bool lost = std::fflush(stdout) != 0 || std::ferror(stdout) || !std::cout;
  return lost ? report("standard output cannot be written", exit_failure) : code;
}

int run(const Arguments& arguments) {
  const std::vector<InputFile> files = files_behind(arguments.files);
  const char* const option = arguments.one_file_option();
  if (arguments.force && arguments.output().empty())
    return report("--force needs --html, --extract, --save or --convert", exit_misuse, hint);
  if (!option && !arguments.diff && quovel::started_from_desktop()) {
    show_pages(arguments, files);
    return 0;
  }
  if (arguments.diff) return compare_files(arguments, files);
  if (!option) return show_files(arguments, files);
  if (!arguments.html.empty()) {
    std::fputs(write_page(arguments, files).c_str(), stdout);
    return 0;
  }
  if (files.size() != 1)
    return report(std::string(option) + " takes one file, not " + std::to_string(files.size()), exit_misuse);
  if (!files[0].error.empty()) throw Failure(files[0].error);
  const std::string told = act_on_file(arguments, files[0].path);
  std::fwrite(told.data(), 1, told.size(), stdout);
  return 0;
}

}  // namespace

int main(int argc, char** argv) try {
  quovel::prepare_terminal();
  quovel::report_file_size_limit_as_error();
  CLI::App app(
      "Shows what is in HALCON data files: images, objects, sequences, dictionaries, 3D models and\n"
      "deep-learning models.",
      "qv_inspect");
  Arguments arguments;
  describe(app, arguments);
  app.set_version_flag(
      "--version", [] { return "qv_inspect " QV_INSPECT_VERSION ", HALCON " + to_utf8(qv_adapter_halcon_version()); });
  try {
    std::vector<std::string> given = quovel::command_line(argc, argv);
    if (!given.empty()) given.erase(given.begin());  // the program's name
    std::reverse(given.begin(), given.end());        // CLI11 wants them in reverse order
    app.parse(std::move(given));
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return finish(app.exit(error));  // --help, --version
    return wait_for_reader(report(error.what(), exit_misuse, hint));
  }
  return finish(run(arguments));
} catch (const std::exception& failure) {
  return wait_for_reader(report(failure.what(), exit_failure));
}
