// Each format's reference library alone: a file in, the pixels in one new block out, nothing else. The seconds it took.
#ifndef QUOVEL_BENCH_DECODERS_H
#define QUOVEL_BENCH_DECODERS_H

#include <string>

namespace bench {

double time_of_libpng(const std::string& path);
double time_of_libjpeg(const std::string& path);
double time_of_libtiff(const std::string& path);

// Files that the library that is measured reads, but does not write: a PNG whose rows come in seven passes, and a TIFF
// in strips of LZW with a predictor. 8 bits per channel, 1 or 3 channels.
void write_interlaced_png(const std::string& path, int width, int height, int channels);
void write_compressed_tiff(const std::string& path, int width, int height, int channels);

}  // namespace bench

#endif
