// Files by UTF-16 path.
#ifndef QUOVEL_PLATFORM_FILES_H
#define QUOVEL_PLATFORM_FILES_H

#include <string>

namespace quovel {

// Whether the path, followed through links, names an existing regular file. One query of the file system; its
// errors mean no.
bool is_regular_file(const std::u16string& path);

// The bytes of a regular file, opened without keeping others from reading or writing it, up to its end or the first
// failure to read; empty when it cannot be opened.
std::string read_shared(const std::u16string& path);

}  // namespace quovel

#endif
