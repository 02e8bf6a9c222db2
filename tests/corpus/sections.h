// The sections of the corpus, one function and one file each; main.cc lists them.
#ifndef QUOVEL_TESTS_CORPUS_SECTIONS_H
#define QUOVEL_TESTS_CORPUS_SECTIONS_H

#include <filesystem>

#include "report.h"

namespace corpus {

// Every image of images/expected.tsv through ReadImage: channels, size, first and last pixel, means and checksum.
void check_images(const std::filesystem::path& corpus, Report& report);
// Every document of json/expected.tsv and bench/expected.tsv through the host interface: opened or refused, written
// again.
void check_json(const std::filesystem::path& corpus, Report& report);
// Every file of malformed/expected.tsv through every parse export of the host interface.
void check_malformed(const std::filesystem::path& corpus, Report& report);
// Every 3D model of models3d/expected.tsv through ReadObjectModel3d: points, faces and bounding box.
void check_models3d(const std::filesystem::path& corpus, Report& report);
// Every model of onnx/expected.tsv through ReadDlModel: origin, inputs, outputs, operators and initializers.
void check_onnx(const std::filesystem::path& corpus, Report& report);

}  // namespace corpus

#endif
