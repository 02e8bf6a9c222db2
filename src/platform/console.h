// The command line and the terminal of a program.
#ifndef QUOVEL_PLATFORM_CONSOLE_H
#define QUOVEL_PLATFORM_CONSOLE_H

#include <string>
#include <vector>

namespace quovel {

// The arguments in any language, as UTF-8, the program's name first.
std::vector<std::string> command_line(int argc, char** argv);

// Where a shell leaves '*' and '?' to the programs, as on Windows: the names that the last part of `name` stands for,
// sorted, without those that begin with a dot. Otherwise, and where nothing fits, `name` as it is.
std::vector<std::string> expand_wildcards(const std::string& name);

// Makes the terminal show UTF-8 and obey colour codes; call once at the start.
void prepare_terminal() noexcept;

// Whether standard output, standard error goes to a terminal.
bool output_is_terminal() noexcept;
bool errors_are_on_terminal() noexcept;

}  // namespace quovel

#endif
