// BMP, GIF, PCX, Sun raster and XWD through ReadImage, and BMP through WriteImage. The files are laid out here byte by
// byte.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <tuple>
#include <vector>

#include "HalconCpp.h"
#include "support/bytes.h"
#include "support/files.h"
#include "support/objects.h"
#include "support/values.h"

namespace {

using namespace test;
using namespace std::string_literals;
using testing::HasSubstr;
using testing::StartsWith;

std::string zeros(std::size_t count) { return std::string(count, '\0'); }

// `extra`: masks that belong to the header; `palette`: what comes between header and pixels.
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

// A screen of `width` x 3 with four colors and the background color 1, then the frames.
std::string gif_of(const std::string& palette, const std::string& frames, int width = 3) {
  return "GIF89a" + le({width, 3}, 2) + bytes({0x81, 1, 0}) + palette + frames + ";";
}

// `place` is left, top, width and height; `codes` are the sub-blocks of 2-bit pixels.
std::string frame(std::initializer_list<std::int64_t> place, const std::string& codes, int flags = 0) {
  return "," + le(place, 2) + bytes({flags, 2}) + codes + bytes({0});
}

// A Graphic Control Extension.
std::string control(int disposal, int transparent = -1) {
  return bytes({0x21, 0xF9, 4, disposal << 2 | (transparent >= 0), 0, 0, transparent & 255, 0});
}

std::string gif(const std::string& palette, const std::string& extension, std::initializer_list<std::int64_t> place,
                int flags, const std::string& codes) {
  return gif_of(palette, extension + frame(place, codes, flags));
}

// The codes as sub-blocks, each as wide as a decoder with that code size expects it.
std::string lzw(unsigned size, const std::vector<unsigned>& codes) {
  std::string data;
  unsigned next = 0, width = 0, bits = 0;
  const auto clear = [&] { next = (1U << size) + 1, width = size + 1; };
  clear();
  for (const unsigned code : codes) {
    for (unsigned bit = 0; bit < width; ++bit, ++bits) {
      if (bits % 8 == 0) data += '\0';
      data.back() = static_cast<char>(data.back() | (code >> bit & 1) << bits % 8);
    }
    if (code == 1U << size)
      clear();
    else if (++next == 1U << width && width < 12)
      ++width;
  }
  std::string blocks;
  for (std::size_t at = 0; at < data.size(); at += 255) {
    const std::string block = data.substr(at, 255);
    blocks += static_cast<char>(block.size()) + block;
  }
  return blocks;
}

// Code size 2, each pixel after a Clear code, so that nothing is learned; then the end code.
std::string clear_codes(std::initializer_list<unsigned> pixels) {
  std::vector<unsigned> codes;
  for (const unsigned pixel : pixels) codes.insert(codes.end(), {4, pixel});
  codes.push_back(5);
  return lzw(2, codes);
}

std::string pcx(int width, int height, int bits, int planes, int plane_bytes, const std::string& palette,
                const std::string& pixels, const std::string& end = "") {
  return bytes({10, 5, 1, bits}) + le({0, 0, width - 1, height - 1, 0, 0}, 2) + palette + zeros(48 - palette.size()) +
         bytes({0, planes}) + le({plane_bytes, 1}, 2) + zeros(58) + pixels + end;
}

std::string ras(unsigned width, unsigned height, unsigned bits, unsigned kind, const std::string& map,
                const std::string& pixels) {
  return be({0x59A66A95, width, height, bits, 0, kind, !map.empty(), static_cast<int>(map.size())}) + map + pixels;
}

// Orders: 0 is the least significant byte or bit first. The color map comes before the pixels.
std::string xwd(unsigned width, unsigned height, unsigned order, unsigned unit, unsigned bits, unsigned row_bytes,
                unsigned visual, const std::string& map, const std::string& pixels) {
  return be({100,   7,      2,         bits,   width,    height, 0,    order, unit, order,
             8,     bits,   row_bytes, visual, 0xFF0000, 0xFF00, 0xFF, 8,     0,    static_cast<int>(map.size() / 12),
             width, height, 0,         0,      0}) +
         map + pixels;
}

const std::string rgbk = colors({0xFF0000, 0x00FF00, 0x0000FF, 0x000000});
const std::string grays = colors({0x000000, 0x404040, 0x808080, 0xFFFFFF});

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
      {"BMP OS/2 runs of 24",
       bmp(3, 2, 24, 4, zeros(24), "", bytes({2, 1, 2, 3, 0, 0, 0, 3, 4, 5, 6, 7, 8, 9, 1, 1, 1, 0, 0, 1})),
       "3x2 byte | 6 9 1 3 3 0 | 5 8 1 2 2 0 | 4 7 1 1 1 0"},
      // 1 * 255 / 1023 is 0.25, 2 * 255 / 1023 is 0.5 to be rounded down, 3 * 255 / 1023 is 0.75.
      {"BMP 10 bits per channel",
       bmp(2, 1, 32, 3, le({0x3FF00000, 0xFFC00, 0x3FF}), "",
           le({1 << 20 | 2 << 10 | 3, 0x3FF << 20 | 512 << 10 | 510})),
       "2x1 byte | 0 255 | 0 128 | 1 127"},
      {"GIF interlaced", gif(rgbk, "", {0, 0, 3, 3}, 0x40, clear_codes({0, 1, 2, 3, 3, 3, 2, 1, 0})),
       "3x3 byte | 255 0 0 0 0 255 0 0 0 | 0 255 0 0 255 0 0 0 0 | 0 0 255 255 0 0 0 0 0"},
      {"GIF inside, with learned codes", gif(grays, "", {1, 0, 2, 3}, 0, bytes({3, 0x9C, 0xAF, 0})),
       "3x3 byte | 64 255 255 64 255 255 64 255 255"},
      {"GIF transparent, beyond", gif(rgbk, control(0, 2), {2, 1, 2, 1}, 0, clear_codes({2, 0})),
       "3x3 byte | 0 0 0 0 0 0 0 0 0 | 255 255 255 255 255 0 255 255 255 | 0 0 0 0 0 255 0 0 0 | 0 0 0 0 0 0 0 0 0"},
      {"GIF of width 0", gif(grays, "", {0, 0, 0, 3}, 0, clear_codes({0, 1, 2, 3, 2, 1, 0, 1, 2})),
       "3x3 byte | 0 64 128 255 128 64 0 64 128"},
      {"PCX mono", pcx(9, 1, 1, 1, 2, "", bytes({0x55, 0x80})), "9x1 byte | 0 255 0 255 0 255 0 255 255"},
      {"PCX mono, white first", pcx(9, 1, 1, 1, 2, colors({0xFFFFFF, 0x000000}), bytes({0x55, 0x80})),
       "9x1 byte | 255 0 255 0 255 0 255 0 0"},
      {"PCX planes of bits", pcx(3, 1, 1, 2, 2, rgbk, bytes({0xC1, 0xC0, 0, 0x60, 0})),
       "3x1 byte | 0 0 0 | 255 0 0 | 0 0 255"},
      {"PCX planes", pcx(2, 1, 8, 3, 2, "", bytes({0xC4, 7, 1, 0xC1, 0xC8})), "2x1 byte | 7 7 | 7 7 | 1 200"},
      {"PCX RGBA", pcx(2, 1, 8, 4, 2, "", bytes({0xC4, 7, 1, 0xC1, 0xC8, 5, 6})), "2x1 byte | 7 7 | 7 7 | 1 200 | 5 6"},
      {"PCX palette", pcx(2, 1, 8, 1, 2, "", bytes({1, 2}), bytes({12}) + rgbk + zeros(756)),
       "2x1 byte | 0 0 | 255 0 | 0 255"},
      {"RAS 1", ras(3, 1, 1, 1, "", bytes({0xA0, 0})), "3x1 byte | 0 255 0"},
      {"RAS map, runs", ras(4, 1, 8, 2, bytes({1, 9, 2, 8, 3, 7}), bytes({0x80, 2, 1, 0})),
       "4x1 byte | 9 9 9 1 | 8 8 8 2 | 7 7 7 3"},
      {"RAS gray, single 128", ras(2, 1, 8, 2, "", bytes({0x80, 0, 5})), "2x1 byte | 128 5"},
      {"RAS BGR", ras(1, 1, 24, 1, "", bytes({1, 2, 3, 0})), "1x1 byte | 3 | 2 | 1"},
      {"RAS BGR, runs", ras(2, 2, 24, 2, "", bytes({1, 2, 0x80, 3, 3, 0x80, 0, 4, 5, 6, 7, 8})),
       "2x2 byte | 3 3 5 8 | 2 3 4 7 | 1 3 128 6"},
      {"RAS XRGB", ras(1, 1, 32, 3, "", bytes({9, 1, 2, 3})), "1x1 byte | 1 | 2 | 3"},
      {"XWD map", xwd(2, 1, 1, 8, 8, 2, 3, be({1}) + be({0x1234, 0x5678, 0x9ABC}, 2) + bytes({7, 0}), bytes({1, 0})),
       "2x1 byte | 18 0 | 86 0 | 154 0"},
      {"XWD map, rounded",
       xwd(1, 1, 1, 8, 8, 1, 3, be({1}) + be({0x0180, 0x0182, 0xFE7F}, 2) + bytes({7, 0}), bytes({1})),
       "1x1 byte | 1 | 2 | 254"},
      {"XWD map of 4 bits", xwd(3, 1, 1, 8, 4, 2, 0, "", bytes({0x0F, 0x80})), "3x1 byte | 0 255 136"},
      {"XWD map of 4 bits in bytes", xwd(3, 1, 1, 8, 4, 3, 0, "", bytes({0, 16, 255})), "3x1 byte | 0 16 255"},
      {"XWD masks", xwd(1, 1, 0, 32, 32, 4, 4, "", bytes({1, 2, 3, 9})), "1x1 byte | 3 | 2 | 1"},
      {"XWD bits", xwd(9, 1, 0, 32, 1, 4, 0, "", bytes({0x05, 0x01, 0, 0})), "9x1 byte | 255 0 255 0 0 0 0 0 255"},
  };
}

std::string opened_as(const std::string& path, const std::string& file) {
  write(path, file);
  return opened(path.c_str());
}

// A build may do without giflib.
bool reads_gif() {
  const TempDir folder;
  return opened_as(folder / "picture", gif(rgbk, "", {0, 0, 1, 1}, 0, clear_codes({0}))).find("this build") ==
         std::string::npos;
}

class GifImages : public testing::Test {
 protected:
  void SetUp() override {
    if (!reads_gif()) GTEST_SKIP() << "no GIF in this build";
  }
};

std::vector<Sample> readable_samples() {
  std::vector<Sample> all = samples();
  if (!reads_gif()) std::erase_if(all, [](const Sample& sample) { return sample.file.starts_with("GIF"); });
  return all;
}

TEST(PlainImages, OpenAsStored) {
  const TempDir folder;
  for (const Sample& sample : readable_samples())
    EXPECT_EQ(opened_as(folder / "picture", sample.file), sample.pixels) << sample.name;
}

TEST_F(GifImages, DamagedOnesAreRejected) {
  const TempDir folder;
  for (const std::int64_t side : {3, 65535}) {
    const std::string file = gif(rgbk, "", {0, 0, side, side}, 0, clear_codes({0}));
    EXPECT_THAT(opened_as(folder / "picture", file), HasSubstr("picture ends too early")) << side;
  }
}

// giflib reads code sizes up to 8 only.
TEST_F(GifImages, CodeSizesUpTo11OpenAlike) {
  const TempDir folder;
  const auto opened_with = [&](unsigned size) {
    const unsigned first = (1U << size) + 2;
    std::vector<unsigned> codes{1U << size, 2, first, 1, first + 1, first};
    for (unsigned i = 0; i < 1600; ++i) codes.push_back(i % 7 == 0 ? first + i : i % 4);
    const std::string picture = "," + le({0, 0, 500, 3}, 2) + bytes({0, static_cast<int>(size)}) + lzw(size, codes);
    return opened_as(folder / "picture", gif_of(grays, picture + bytes({0}), 500));
  };
  const std::string eight = opened_with(8);
  EXPECT_THAT(eight, StartsWith("500x3 byte | 128 128 128 64 128 128 64 128 128"));
  for (const unsigned size : {9u, 10u, 11u}) EXPECT_EQ(opened_with(size), eight) << size;
}

// Each frame paints the middle column or a pixel of it; "at" says what the next one is painted on.
TEST_F(GifImages, FramesAreTheScreenAsAViewerShowsIt) {
  const std::string whole = frame({0, 0, 3, 3}, clear_codes({0, 0, 0, 0, 0, 0, 0, 0, 0})),
                    pixel = frame({1, 1, 1, 1}, clear_codes({3})), column = frame({1, 0, 1, 3}, clear_codes({2, 3, 2})),
                    empty = frame({1, 1, 0, 0}, clear_codes({2, 2, 2, 2, 2, 2, 2, 2, 2}));
  const std::tuple<const char*, std::string, std::vector<std::string>> rows[] = {
      {"kept",
       whole + pixel + frame({0, 0, 1, 1}, clear_codes({2})),
       {"0 0 0 0 0 0 0 0 0", "0 0 0 0 255 0 0 0 0", "128 0 0 0 255 0 0 0 0"}},
      {"to the background",
       whole + control(2) + pixel + frame({0, 0, 1, 1}, clear_codes({2})),
       {"0 0 0 0 0 0 0 0 0", "0 0 0 0 255 0 0 0 0", "128 0 0 0 64 0 0 0 0"}},
      {"to the previous",
       whole + control(3) + pixel + frame({0, 0, 1, 1}, clear_codes({2})),
       {"0 0 0 0 0 0 0 0 0", "0 0 0 0 255 0 0 0 0", "128 0 0 0 0 0 0 0 0"}},
      {"to the background, then to the previous",
       control(2) + whole + control(3) + pixel + pixel,
       {"0 0 0 0 0 0 0 0 0", "64 64 64 64 255 64 64 64 64", "64 64 64 64 255 64 64 64 64"}},
      {"transparent", whole + control(0, 2) + column, {"0 0 0 0 0 0 0 0 0", "0 0 0 0 255 0 0 0 0"}},
      {"of no size", whole + control(0, 2) + empty, {"0 0 0 0 0 0 0 0 0", "0 0 0 0 0 0 0 0 0"}},
      {"without a trailer", whole + pixel, {"0 0 0 0 0 0 0 0 0", "0 0 0 0 255 0 0 0 0"}},
  };
  const TempDir folder;
  for (const auto& [name, frames, expected] : rows) {
    std::string file = gif_of(grays, frames);
    if (name == "without a trailer"s) file.pop_back();
    write(folder / "a.gif", file);
    std::vector<std::string> screens;
    for (const std::string& each : expected) screens.push_back("3x3 byte | " + each);
    EXPECT_EQ(all_pixels(read_image((folder / "a.gif").c_str())), screens) << name;
  }
}

// Alpha from the first frame on, for all: what is transparent below shows through.
TEST_F(GifImages, FramesShareTheirChannels) {
  const TempDir folder;
  const std::string first = control(1, 2) + frame({0, 0, 3, 3}, clear_codes({2, 2, 2, 2, 2, 2, 2, 2, 1}));
  write(folder / "a.gif", gif_of(rgbk, first + control(1, 0) + frame({0, 0, 2, 1}, clear_codes({0, 3}))));
  const std::vector<std::string> all = all_pixels(read_image((folder / "a.gif").c_str()));
  ASSERT_EQ(all.size(), 2u);
  EXPECT_THAT(all[0], testing::EndsWith("| 0 0 0 0 0 0 0 0 255"));
  EXPECT_EQ(all[1],
            "3x3 byte | 0 0 0 0 0 0 0 0 0 | 0 0 0 0 0 0 0 0 255 | 255 0 255 255 255 255 255 255 0 | 0 255 0 0 0 0 0 0 "
            "255");
}

TEST_F(GifImages, FramesTogetherAreBounded) {
  const TempDir folder;
  std::string frames;
  for (int i = 0; i < 65537; ++i) frames += frame({0, 0, 1, 1}, clear_codes({1}));
  EXPECT_THAT(opened_as(folder / "many", gif_of(grays, frames)), HasSubstr("more than 65536 images"));
  // 30,000 screens of 65,535 x 3 from 600 KB: 6 GB.
  frames.resize(frames.size() / 65537 * 30000);
  EXPECT_THAT(opened_as(folder / "large", gif_of(grays, frames, 65535)), HasSubstr("more than a file of"));
  // The same file again and again: 300 times 300 frames.
  frames.resize(frames.size() / 100);
  write(folder / "some", gif_of(grays, frames));
  HTuple names;
  for (int i = 0; i < 300; ++i) names.Append((folder / "some").c_str());
  EXPECT_THAT(failure([&] { read_image(names); }), HasSubstr("named again add more than 65536 images"));
}

TEST(PlainImages, CutAnywhereAreWholeOrRejected) {
  const TempDir folder;
  for (const Sample& sample : readable_samples()) {
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

TEST(PlainImages, RejectWhatIsDamaged) {
  const TempDir folder;
  const std::tuple<std::string, const char*> rows[] = {
      {bmp(0x7FFFFFFF, 0x7FFFFFFF, 8, 1, "", grays, bytes({0, 1})), "larger than the 1048576"},
      {bmp(1 << 20, 1 << 10, 24, 0, "", "", "x"), "more than a file of"},
      {bmp(3, 1, 24, 0, "", "", "x"), "ends too early"},
      {bmp(1, 1, 1, 3, zeros(24), "", "x"), "compression 3 (OS/2) is not read"},
      {bmp(-5, 1, 24, 0, "", "", zeros(40)), "-5 x 1 pixels holds nothing"},
      {bmp(1, 1, 7, 0, "", "", zeros(8)), "7 bits per pixel"},
      {bmp(2, 1, 8, 1, "", grays, bytes({9, 1, 0, 1})), "leave the image"},
      {bmp(1, 1, 0, 5, "", "", "no PNG here"), "should hold a PNG file"},
      {pcx(2, 1, 8, 1, 1, "", "12"), "shorter than its width"},
      {pcx(4, 11266, 8, 3, 63524, "", "12"), "more than a file of"},
      {ras(0x7FFFFFFF, 0x7FFFFFFF, 24, 1, "", ""), "larger than the 1048576"},
      {ras(1, 1, 8, 4, "", "1234"), "type 4"},
      {xwd(65536, 65536, 1, 8, 8, 65536, 0, "", "x"), "ends too early"},
      {be({100, 7, 77, 8}) + zeros(84), "not an image file of a known format"},
      {"\n\n\n\n" + zeros(200), "not an image file of a known format"},
  };
  for (const auto& [file, reason] : rows) EXPECT_THAT(opened_as(folder / "picture", file), HasSubstr(reason));
}

TEST(PlainImages, WriteBmpExactly) {
  const TempDir folder;
  const std::string written = folder / "written.bmp";
  for (const Sample& sample : readable_samples()) {
    write(folder / "picture", sample.file);
    WriteImage(read_image((folder / "picture").c_str()), "bmp", 0, written.c_str());
    EXPECT_EQ(opened(written.c_str()), sample.pixels);
  }
  for (const HObject& other : {ramp(5, 3, 1, "uint2"), ramp(5, 3, 2)})
    EXPECT_THAT(failure([&] { WriteImage(other, "bmp", 0, written.c_str()); }),
                HasSubstr("BMP holds byte images of 1, 3 or 4 channels, not "));
}

}  // namespace
