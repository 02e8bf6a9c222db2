// The sections of the corpus, one function and one file each; main.cc lists them.
#ifndef QUOVEL_TESTS_CORPUS_SECTIONS_H
#define QUOVEL_TESTS_CORPUS_SECTIONS_H

#include <filesystem>

#include "report.h"

namespace corpus {

// Every image of images/expected.tsv through ReadImage: channels, size, first and last pixel, means and checksum.
void check_images(const std::filesystem::path& corpus, Report& report);

}  // namespace corpus

#endif
