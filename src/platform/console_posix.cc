#include <unistd.h>

#include <string>
#include <vector>

#include "platform/console.h"

namespace quovel {

std::vector<std::string> command_line(int argc, char** argv) { return {argv, argv + argc}; }
std::vector<std::string> expand_wildcards(const std::string& name) { return {name}; }
void prepare_terminal() noexcept {}
bool output_is_terminal() noexcept { return isatty(STDOUT_FILENO) == 1; }
bool errors_are_on_terminal() noexcept { return isatty(STDERR_FILENO) == 1; }

}  // namespace quovel
