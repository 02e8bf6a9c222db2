// Which file a name leads to: two names of one file (another spelling, a link) have the same identity.
#ifndef HALCONCPP_IMAGES_FILE_IDENTITY_H
#define HALCONCPP_IMAGES_FILE_IDENTITY_H

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

namespace HalconCpp::detail {

// The device and the number of the file on it (Windows: volume serial number and file index).
using FileIdentity = std::pair<std::uint64_t, std::uint64_t>;

// Follows links. Nothing when the file cannot be asked: opening it then gives the reason.
std::optional<FileIdentity> file_identity(std::string_view path);

}  // namespace HalconCpp::detail

#endif
