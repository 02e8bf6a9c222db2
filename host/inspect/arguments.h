// What the user asks for on the command line.
#ifndef QUOVEL_HOST_ARGUMENTS_H
#define QUOVEL_HOST_ARGUMENTS_H

#include <CLI/CLI.hpp>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "selection.h"

namespace host {

struct Arguments {
  std::vector<std::string> files;  // and folders
  std::string kind = "auto";
  int depth = -1;
  bool details = false;
  Wanted wanted;
  std::map<int32_t, std::string> reading_options;  // by qv_parse_option_key_value
  int object = 0;
  // The action: at most one of these; without any, the tree is printed.
  bool json = false;
  bool list = false;
  bool diff = false;  // takes two files
  std::string html;
  std::string value_place;
  std::vector<std::string> extract;  // place, output
  std::vector<std::string> save;     // places..., output
  std::string convert;
  bool lenient = false;
  bool force = false;

  // The name of the given option that takes exactly one file, or null.
  const char* one_file_option() const;
  // The file to be written; empty when there is none.
  std::string output() const;
};

// Adds the options to `app`; parsing then fills `arguments`.
void describe(CLI::App& app, Arguments& arguments);

}  // namespace host

#endif
