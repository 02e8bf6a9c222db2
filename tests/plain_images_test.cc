// BMP, GIF, PCX, Sun raster and XWD through ReadImage, and BMP through WriteImage. The files are laid out here byte by
// byte.
#include <gmock/gmock.h>

#include "support/bytes.h"
#include "support/files.h"
#include "support/values.h"

namespace {

using namespace test;
using testing::HasSubstr;
using testing::StartsWith;

std::string zeros(std::size_t count) { return std::string(count, '\0'); }

// `extra`: masks that belong to the header; `palette`: what stands between header and pixels.
std::string bmp(int width, int height, unsigned bits, unsigned compression, const std::string& extra,
                const std::string& palette, const std::string& pixels) {
  const auto header = static_cast<int>(40 + extra.size()), at = static_cast<int>(14 + header + palette.size());
  return "BM" + le({0, 0, at, header, width, height}) + le({1, bits}, 2) + le({compression, 0, 0, 0, 0, 0}) + extra +
         palette + pixels;
}

std::string colors(std::initializer_list<int> rgb, bool for_bmp = false) {
  std::string text;
  for (const int color : rgb) text += for_bmp ? le({color}) : be({color}, 3);
  return text;
}

// A screen of 3 x 3 with four colours and the background colour 1; `codes` are the sub-blocks of 2-bit pixels.
std::string gif(const std::string& palette, const std::string& extension, std::initializer_list<std::int64_t> frame,
                int flags, const std::string& codes) {
  return "GIF89a" + le({3, 3}, 2) + bytes({0x81, 1, 0}) + palette + extension + "," + le(frame, 2) + bytes({flags, 2}) +
         codes + bytes({0, 0x3B});
}

// Codes of three bits, each pixel after a code that clears, so that nothing is learnt; then the end code.
std::string clear_codes(std::initializer_list<unsigned> pixels) {
  std::vector<unsigned> codes;
  for (const unsigned pixel : pixels) codes.insert(codes.end(), {4, pixel});
  codes.push_back(5);
  std::string packed(codes.size() * 3 / 8 + 1, '\0');
  for (std::size_t bit = 0; bit < codes.size() * 3; ++bit)
    packed[bit / 8] = static_cast<char>(packed[bit / 8] | (codes[bit / 3] >> bit % 3 & 1) << bit % 8);
  return static_cast<char>(packed.size()) + packed;
}

std::string pcx(int width, int height, int bits, int planes, int plane_bytes, const std::string& palette,
                const std::string& pixels, const std::string& end = "") {
  return bytes({10, 5, 1, bits}) + le({0, 0, width - 1, height - 1, 0, 0}, 2) + palette + zeros(48 - palette.size()) +
         bytes({0, planes, plane_bytes, 0, 1, 0}) + zeros(58) + pixels + end;
}

std::string ras(unsigned width, unsigned height, unsigned bits, unsigned kind, const std::string& map,
                const std::string& pixels) {
  return be({0x59A66A95, width, height, bits, 0, kind, !map.empty(), static_cast<int>(map.size())}) + map + pixels;
}

// Orders: 0 is the least significant byte or bit first. The colour map is what stands before the pixels.
std::string xwd(unsigned width, unsigned height, unsigned order, unsigned unit, unsigned bits, unsigned row_bytes,
                unsigned visual, const std::string& map, const std::string& pixels) {
  return be({100,   7,      2,         bits,   width,    height, 0,    order, unit, order,
             8,     bits,   row_bytes, visual, 0xFF0000, 0xFF00, 0xFF, 8,     0,    static_cast<int>(map.size() / 12),
             width, height, 0,         0,      0}) +
         map + pixels;
}

const std::string rgbk = colors({0xFF0000, 0x00FF00, 0x0000FF, 0x000000});
const std::string grays = colors({0x000000, 0x404040, 0x808080, 0xFFFFFF});
const std::string transparent_2 = bytes({0x21, 0xF9, 4, 1, 0, 0, 2, 0});

struct Sample {
  const char* name;
  std::string file;
  const char* pixels;  // size, then the planes
};

std::vector<Sample> samples() {
  return {
      {"BMP 24", bmp(2, 2, 24, 0, "", "", bytes({1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0})),
       "2x2 byte | 9 12 3 6 | 8 11 2 5 | 7 10 1 4"},
      {"BMP 1 gray top-down",
       bmp(3, -2, 1, 0, "", colors({0x202020, 0xFFFFFF}, true), bytes({0xA0, 0, 0, 0, 0x40, 0, 0, 0})),
       "3x2 byte | 255 32 255 32 255 32"},
      {"BMP 555", bmp(2, 1, 16, 0, "", "", le({0x7C10, 0x0200}, 2)), "2x1 byte | 255 0 | 0 132 | 132 0"},
      {"BMP 32", bmp(1, 1, 32, 0, "", "", bytes({1, 2, 3, 4})), "1x1 byte | 3 | 2 | 1"},
      {"BMP alpha", bmp(1, 1, 32, 3, le({0xFF, 0xFF00, 0xFF0000, 0xFF000000}), "", bytes({1, 2, 3, 4})),
       "1x1 byte | 1 | 2 | 3 | 4"},
      {"BMP runs of 8",
       bmp(3, 2, 8, 1, "", colors({0x000000, 0x010101, 0x020202, 0x030303}, true),
           bytes({2, 1, 0, 2, 0, 1, 1, 3, 0, 1})),
       "3x2 byte | 0 0 3 1 1 0"},
      {"BMP runs of 4",
       bmp(3, 2, 4, 2, "", colors({0x000000, 0x010101, 0x020202, 0x030303}, true),
           bytes({0, 3, 0x12, 0x30, 0, 0, 3, 0x21, 0, 1})),
       "3x2 byte | 2 1 2 1 2 3"},
      {"GIF woven", gif(rgbk, "", {0, 0, 3, 3}, 0x40, clear_codes({0, 1, 2, 3, 3, 3, 2, 1, 0})),
       "3x3 byte | 255 0 0 0 0 255 0 0 0 | 0 255 0 0 255 0 0 0 0 | 0 0 255 255 0 0 0 0 0"},
      {"GIF inside, learning", gif(grays, "", {1, 0, 2, 3}, 0, bytes({3, 0x9C, 0xAF, 0})),
       "3x3 byte | 64 255 255 64 255 255 64 255 255"},
      {"GIF transparent, beyond", gif(rgbk, transparent_2, {2, 1, 2, 1}, 0, clear_codes({2, 0})),
       "3x3 byte | 0 0 0 0 0 0 0 0 0 | 255 255 255 255 255 0 255 255 255 | 0 0 0 0 0 255 0 0 0 | 0 0 0 0 0 0 0 0 0"},
      {"PCX mono", pcx(9, 1, 1, 1, 2, "", bytes({0x55, 0x80})), "9x1 byte | 0 255 0 255 0 255 0 255 255"},
      {"PCX planes of bits", pcx(3, 1, 1, 2, 2, rgbk, bytes({0xC1, 0xC0, 0, 0x60, 0})),
       "3x1 byte | 0 0 0 | 255 0 0 | 0 0 255"},
      {"PCX planes", pcx(2, 1, 8, 3, 2, "", bytes({0xC4, 7, 1, 0xC1, 0xC8})), "2x1 byte | 7 7 | 7 7 | 1 200"},
      {"PCX palette", pcx(2, 1, 8, 1, 2, "", bytes({1, 2}), bytes({12}) + rgbk + zeros(756)),
       "2x1 byte | 0 0 | 255 0 | 0 255"},
      {"RAS 1", ras(3, 1, 1, 1, "", bytes({0xA0, 0})), "3x1 byte | 0 255 0"},
      {"RAS map, runs", ras(4, 1, 8, 2, bytes({1, 9, 2, 8, 3, 7}), bytes({0x80, 2, 1, 0})),
       "4x1 byte | 9 9 9 1 | 8 8 8 2 | 7 7 7 3"},
      {"RAS gray, single 128", ras(2, 1, 8, 2, "", bytes({0x80, 0, 5})), "2x1 byte | 128 5"},
      {"RAS BGR", ras(1, 1, 24, 1, "", bytes({1, 2, 3, 0})), "1x1 byte | 3 | 2 | 1"},
      {"RAS XRGB", ras(1, 1, 32, 3, "", bytes({9, 1, 2, 3})), "1x1 byte | 1 | 2 | 3"},
      {"XWD map", xwd(2, 1, 1, 8, 8, 2, 3, be({1}) + be({0x1234, 0x5678, 0x9ABC}, 2) + bytes({7, 0}), bytes({1, 0})),
       "2x1 byte | 18 0 | 86 0 | 154 0"},
      {"XWD masks", xwd(1, 1, 0, 32, 32, 4, 4, "", bytes({1, 2, 3, 9})), "1x1 byte | 3 | 2 | 1"},
      {"XWD bits", xwd(9, 1, 0, 32, 1, 4, 0, "", bytes({0x05, 0x01, 0, 0})), "9x1 byte | 255 0 255 0 0 0 0 0 255"},
  };
}

std::string opened_as(const std::string& path, const std::string& file) {
  write(path, file);
  return opened(path.c_str());
}

TEST(PlainImages, OpenAsStored) {
  const TempDir folder;
  for (const Sample& sample : samples())
    EXPECT_EQ(opened_as(folder / "picture", sample.file), sample.pixels) << sample.name;
}

TEST(PlainImages, CutAnywhereAreWholeOrRefused) {
  const TempDir folder;
  for (const Sample& sample : samples()) {
    const std::size_t whole = sample.file.size();
    // Every byte at both ends, every ninth between them.
    for (std::size_t size = whole; size > 0;) {
      size -= whole - size < 12 || size < 9 ? 1 : 9;
      const std::string result = opened_as(folder / "picture", sample.file.substr(0, size));
      if (result == sample.pixels) continue;  // nothing is missing but the end mark of a GIF or of run lengths
      ASSERT_THAT(result, StartsWith("ReadImage: '")) << sample.name << " cut to " << size;
    }
  }
}

TEST(PlainImages, RefuseWhatTheyCannotHold) {
  const TempDir folder;
  const std::tuple<std::string, const char*> rows[] = {
      {bmp(0x7FFFFFFF, 0x7FFFFFFF, 8, 1, "", grays, bytes({0, 1})), "larger than the 1048576"},
      {bmp(1 << 20, 1 << 20, 24, 0, "", "", "x"), "ends too early"},
      {bmp(-5, 1, 24, 0, "", "", zeros(40)), "-5 x 1 pixels holds nothing"},
      {bmp(1, 1, 7, 0, "", "", zeros(8)), "7 bits per pixel"},
      {bmp(2, 1, 8, 1, "", grays, bytes({9, 1, 0, 1})), "leave the picture"},
      {bmp(1, 1, 0, 5, "", "", "no PNG here"), "should hold a PNG file"},
      {gif(rgbk, "", {0, 0, 65535, 65535}, 0, clear_codes({0})), "more than a file of"},
      {gif(rgbk, "", {0, 0, 3, 3}, 0, clear_codes({0})), "picture ends too early"},
      {pcx(2, 1, 8, 1, 1, "", "12"), "shorter than its width"},
      {ras(0x7FFFFFFF, 0x7FFFFFFF, 24, 1, "", ""), "larger than the 1048576"},
      {ras(1, 1, 8, 4, "", "1234"), "type 4"},
      {xwd(65536, 65536, 1, 8, 8, 65536, 0, "", "x"), "ends too early"},
      {be({100, 7, 77, 8}) + zeros(84), "no image file of a known format"},
      {"\n\n\n\n" + zeros(200), "no image file of a known format"},
  };
  for (const auto& [file, reason] : rows) EXPECT_THAT(opened_as(folder / "picture", file), HasSubstr(reason));
}

TEST(PlainImages, WriteBmpExactly) {
  const TempDir folder;
  const std::string written = folder / "written.bmp";
  for (const Sample& sample : samples()) {
    write(folder / "picture", sample.file);
    WriteImage(read_image((folder / "picture").c_str()), "bmp", 0, written.c_str());
    EXPECT_EQ(opened(written.c_str()), sample.pixels);
  }
  for (const HObject& other : {ramp(5, 3, 1, "uint2"), ramp(5, 3, 2)})
    EXPECT_THAT(failure([&] { WriteImage(other, "bmp", 0, written.c_str()); }),
                HasSubstr("BMP holds byte images of 1, 3 or 4 channels, not "));
}

}  // namespace
