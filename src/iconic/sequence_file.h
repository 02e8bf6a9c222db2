// Sequence files: plain text that lists image files, one path per line. They are written on Windows more often than
// not, so both '/' and backslash separate the components of an entry on every system.
#ifndef QUOVEL_ICONIC_SEQUENCE_FILE_H
#define QUOVEL_ICONIC_SEQUENCE_FILE_H

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "HalconCpp.h"

namespace quovel {

// The extensions that an entry is tried with, in this order.
std::span<const std::u16string_view> image_file_extensions();

// The entries in file order: lines without their line end and without spaces and tabs around them; empty lines are
// skipped. Empty when the file cannot be opened. Bytes become text as in every HALCON string.
std::vector<std::u16string> read_sequence_entries(const std::u16string& path);

// The files that the entries stand for, looked for in the folder above the sequence file's and then beside it. Throws
// ReportedError when there is no entry, or no file for one.
HalconCpp::HTuple resolve_sequence(const std::u16string& path);

}  // namespace quovel

#endif
