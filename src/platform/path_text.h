// Paths as text; no function here asks the file system. Components are separated by '/', on Windows also by a
// backslash, which elsewhere is a character of names. On every system a path may begin with a root name, which is a
// drive ("E:") or a network or device prefix: two separators and a name.
#ifndef QUOVEL_PLATFORM_PATH_TEXT_H
#define QUOVEL_PLATFORM_PATH_TEXT_H

#include <string>
#include <string_view>

namespace quovel {

// The text after the last '.' anywhere in the path, folders included, in lower case (ASCII); empty when there is none.
std::u16string file_extension(std::u16string_view path);

// What follows the last '/' or backslash, without its last '.' and what follows that: the name to show for a file.
std::u16string_view file_stem(std::u16string_view path);

// The path without its last component and the separators before it, but never without its root.
std::u16string_view parent_path(std::u16string_view path);

bool is_separator(char16_t c) noexcept;
// What join_path puts between two components.
char16_t separator() noexcept;

// A path written by Windows rules, as in the lists of image sequences, with this system's separators.
std::u16string from_windows_path(std::u16string path);

// The path of `entry` as seen from `directory`. An absolute entry is returned as it is. One that starts with a
// separator keeps only the directory's root name. One that is relative to a drive ("E:x") is joined if the directory is
// on that drive, and returned as it is otherwise.
std::u16string join_path(std::u16string_view directory, std::u16string_view entry);

}  // namespace quovel

#endif
