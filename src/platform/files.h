// Files by UTF-16 path.
#ifndef QUOVEL_PLATFORM_FILES_H
#define QUOVEL_PLATFORM_FILES_H

#include <cstddef>
#include <string>

namespace quovel {

// Whether the path, followed through links, names an existing regular file; false when the file system reports an
// error. Asks the file system once.
bool is_regular_file(const std::u16string& path);

// The bytes of a regular file, up to its end or the first failure to read. Other processes may read and write the file
// meanwhile. Empty when it cannot be opened, or when it is larger than max_shared_bytes. The limit is for files that
// are not lists of images, such as sparse ones: even a list of a million files is smaller.
inline constexpr std::size_t max_shared_bytes = std::size_t{64} << 20;
std::string read_shared(const std::u16string& path);

}  // namespace quovel

#endif
