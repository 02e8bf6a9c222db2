// Files by UTF-16 path.
#ifndef QUOVEL_PLATFORM_FILES_H
#define QUOVEL_PLATFORM_FILES_H

#include <cstddef>
#include <string>

namespace quovel {

// Whether the path, followed through links, names an existing regular file. One query of the file system; its
// errors mean no.
bool is_regular_file(const std::u16string& path);

// The bytes of a regular file, opened without keeping others from reading or writing it, up to its end or the first
// failure to read; empty when it cannot be opened, or when it is larger than max_shared_bytes. A list of a million
// image files is not: the limit is for files that are no lists, such as sparse ones.
inline constexpr std::size_t max_shared_bytes = std::size_t{64} << 20;
std::string read_shared(const std::u16string& path);

}  // namespace quovel

#endif
