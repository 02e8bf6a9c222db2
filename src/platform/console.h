// The command line and the terminal of a program.
#ifndef QUOVEL_PLATFORM_CONSOLE_H
#define QUOVEL_PLATFORM_CONSOLE_H

#include <string>
#include <vector>

namespace quovel {

// The arguments in any language, as UTF-8, the program's name first.
std::vector<std::string> command_line(int argc, char** argv);

// On Windows, where shells leave '*' and '?' to the programs: the names that the last component of `name` matches,
// sorted, without those that begin with a dot. Elsewhere, and when nothing matches, `name` itself.
std::vector<std::string> expand_wildcards(const std::string& name);

// Makes the terminal show UTF-8 and interpret color codes; call once at the start.
void prepare_terminal() noexcept;

// Whether standard output, standard error goes to a terminal.
bool output_is_terminal() noexcept;
bool errors_are_on_terminal() noexcept;

}  // namespace quovel

#endif
