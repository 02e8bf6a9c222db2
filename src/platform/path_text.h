// Paths as text, by Windows rules on every system: '/' and backslash both separate components, and a path may begin
// with a root name, which is a drive ("E:") or a network or device prefix ("\\server", "\\?").
#ifndef QUOVEL_PLATFORM_PATH_TEXT_H
#define QUOVEL_PLATFORM_PATH_TEXT_H

#include <string>
#include <string_view>

namespace quovel {

// The text after the last '.' anywhere in the path, folders included, in lower case (ASCII); empty when there is none.
std::u16string file_extension(std::u16string_view path);

// The last component without its last '.' and what follows.
std::u16string_view file_stem(std::u16string_view path);

// The path without its last component and the separators before it, but never without its root.
std::u16string_view parent_path(std::u16string_view path);

// Where `entry` leads when it is written in `directory`.
std::u16string join_path(std::u16string_view directory, std::u16string_view entry);

}  // namespace quovel

#endif
