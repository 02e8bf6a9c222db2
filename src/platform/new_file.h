// Files and folders that are new, so that nobody can have prepared a link under their name. Both functions set errno
// when they fail, to EEXIST when something of that name is there.
#ifndef QUOVEL_PLATFORM_NEW_FILE_H
#define QUOVEL_PLATFORM_NEW_FILE_H

#include <cstdio>
#include <filesystem>

namespace quovel {

// Open for writing bytes; null on failure.
std::FILE* create_file(const std::filesystem::path& path) noexcept;

// On POSIX systems only its owner may enter the folder; on Windows it inherits the rights of its parent.
bool create_private_folder(const std::filesystem::path& path) noexcept;

}  // namespace quovel

#endif
