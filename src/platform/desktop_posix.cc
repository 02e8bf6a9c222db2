#include <string>

#include "platform/desktop.h"

namespace quovel {

bool started_from_desktop() noexcept { return false; }
std::string temporary_folder() { return "/tmp/"; }
bool show_on_desktop(const std::string&) { return false; }

}  // namespace quovel
