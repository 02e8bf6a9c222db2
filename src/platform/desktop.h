// What a program does that was started from the desktop: by a double click, or by files that were dropped on it.
#ifndef QUOVEL_PLATFORM_DESKTOP_H
#define QUOVEL_PLATFORM_DESKTOP_H

#include <string>

namespace quovel {

// Whether the program has a console of its own, which closes with it: then it was started from the desktop. Always
// false where such programs have no console.
bool started_from_desktop() noexcept;

// The folder for temporary files, with a separator at its end.
std::string temporary_folder();

// Shows a file in the program that the user has chosen for its kind. False when that fails.
bool show_on_desktop(const std::string& path);

}  // namespace quovel

#endif
