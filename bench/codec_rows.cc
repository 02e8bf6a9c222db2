// Compressed images, against their reference libraries alone; sequences of images, against one at a time.
#include <string>

#include "HalconCpp.h"
#include "decoders.h"
#include "files.h"
#include "images.h"
#include "rows.h"

namespace bench {

namespace {

using namespace HalconCpp;

double time_of_opening(const std::string& path) {
  const Reader reader = new_reader();
  return seconds([&] { open_objects(reader.get(), path); });
}

double wall_time_of_opening(const std::string& path) {
  const Reader reader = new_reader();
  return wall_seconds([&] { open_objects(reader.get(), path); });
}

void add_codec_row(const char* work, const char* library, double (*decode)(const std::string&),
                   std::string (*make_file)()) {
  add_row({work, library, 1.15, 7}, [=] {
    const std::string path = make_file();
    return Pair{[=] { return time_of_opening(path); }, [=] { return decode(path); }};
  });
}

std::string photo_file(const char* name, const char* format, const char* type, int channels) {
  std::string path = path_of(name);
  WriteImage(photo(type, channels), format, 0, path.c_str());
  return path;
}

using WriteFile = void (*)(const std::string&, int, int, int);

std::string made_file(const char* name, WriteFile write, int channels) {
  std::string path = path_of(name);
  write(path, photo_width, photo_height, channels);
  return path;
}

// A sequence as the library reads it: names of files beside the list.
Pair sequence_against_single(const char* extension, const char* format) {
  constexpr int images = 200;
  std::string list;
  for (int i = 0; i < images; ++i) {
    const std::string name = "frame" + std::to_string(i) + "." + extension;
    WriteImage(photo("byte", 1, 1280, 960), format, 0, path_of(name).c_str());
    list += name + "\n";
  }
  write_file(path_of("frames.seq"), list);
  const auto single = [=] {
    double sum = 0;
    for (int i = 0; i < images; ++i)
      sum += wall_time_of_opening(path_of("frame" + std::to_string(i) + "." + extension));
    return sum;
  };
  return {[] { return wall_time_of_opening(path_of("frames.seq")); }, single};
}

}  // namespace

void add_codec_rows() {
  add_codec_row("PNG, gray", "libpng", time_of_libpng, [] { return photo_file("gray.png", "png", "byte", 1); });
  add_codec_row("PNG, RGB", "libpng", time_of_libpng, [] { return photo_file("rgb.png", "png", "byte", 3); });
  add_codec_row("PNG, 16-bit gray", "libpng", time_of_libpng,
                [] { return photo_file("gray16.png", "png", "uint2", 1); });
  add_codec_row("PNG, interlaced gray", "libpng", time_of_libpng,
                [] { return made_file("interlaced.png", write_interlaced_png, 1); });
  add_codec_row("PNG, interlaced RGB", "libpng", time_of_libpng,
                [] { return made_file("interlaced.png", write_interlaced_png, 3); });
  add_codec_row("JPEG, gray", "libjpeg", time_of_libjpeg, [] { return photo_file("gray.jpg", "jpg", "byte", 1); });
  add_codec_row("JPEG, RGB", "libjpeg", time_of_libjpeg, [] { return photo_file("rgb.jpg", "jpg", "byte", 3); });
  add_codec_row("TIFF, gray", "libtiff", time_of_libtiff,
                [] { return made_file("lzw.tif", write_compressed_tiff, 1); });
  add_codec_row("TIFF, RGB", "libtiff", time_of_libtiff, [] { return made_file("lzw.tif", write_compressed_tiff, 3); });
  add_row({"sequence of 200 PNG images, two cores", "200 times one image", 0.7, 3, Unit::Seconds, false},
          [] { return sequence_against_single("png", "png"); });
  add_row({"sequence of 200 JPEG images, two cores", "200 times one image", 0.7, 3, Unit::Seconds, false},
          [] { return sequence_against_single("jpg", "jpg"); });
}

}  // namespace bench
