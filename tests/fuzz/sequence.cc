// A list of image files: the text up to the first NUL, what follows is one of the files.
#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "driver.h"

FUZZ_TARGET(input) {
  static const bool prepared = [] {
    std::filesystem::create_directories(fuzz::in_folder("list"));
    std::filesystem::create_directories(fuzz::in_folder("folder.png"));
    fuzz::put("a.pgm", "P5 2 1 255\nab");
    fuzz::put("list/b.ppm", "P3 1 1 255 1 2 3");
    for (char name = '0'; name <= '9'; ++name) fuzz::put(std::string{name} + ".pgm", "P2 1 1 9 5");  // for threads
    return true;
  }();
  const std::size_t end = input.find('\0');
  fuzz::put("c.pgm", end == input.npos ? std::string_view() : input.substr(end + 1));
  if (prepared) fuzz::use(fuzz::reader().objects(fuzz::put("list/input.seq", input.substr(0, end))));
}
