// TIFF and JPEG 2000 files of the built-in class interface: odd layouts and colors, all types there and back, damage.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "support/bytes.h"
#include "support/files.h"
#include "support/objects.h"
#include "support/values.h"

#ifdef __GLIBC__
#include <malloc.h>
#endif

using namespace test;
using namespace std::string_literals;
using testing::AnyOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

// Bytes without a pattern as pixels; NaN and infinity among the reals.
HObject noise(const char* type, int width, int height, int channels) {
  std::mt19937 random(7);
  std::vector<std::uint32_t> content(static_cast<std::size_t>(2 * width * height));
  std::vector<HObject> planes(static_cast<std::size_t>(channels));
  for (HObject& plane : planes) {
    std::generate(content.begin(), content.end(), random);
    GenImage1(&plane, type, width, height, content.data());
  }
  return composed(planes);
}

using Tags = std::map<unsigned, std::vector<unsigned>>;
constexpr unsigned bits = 258, compression = 259, photometric = 262, fill_order = 266, offsets = 273, samples = 277;
constexpr unsigned rows = 278, counts = 279, planes = 284, color_map = 320, tile_width = 322, tile_height = 323;
constexpr unsigned tile_offsets = 324, tile_counts = 325, extra = 338, format = 339, subsampling = 530;

// One strip of `data` with 8-bit samples, unless the tags say otherwise.
std::string tiff(unsigned width, unsigned height, const std::string& data, Tags tags, bool big_endian = false) {
  const auto put = [&](std::size_t value, int size) {
    return (big_endian ? be : le)({static_cast<std::int64_t>(value)}, size);
  };
  tags.insert({{256, {width}}, {257, {height}}, {bits, {8}}, {photometric, {1}}, {samples, {1}}});
  if (!tags.count(tile_width)) tags.insert({{offsets, {8}}, {counts, {static_cast<unsigned>(data.size())}}});
  tags[bits].resize(tags[samples][0], tags[bits][0]);
  std::string values, directory = put(tags.size(), 2);
  for (const auto& [tag, list] : tags) {
    const bool wide = tag < bits;  // width and height are long numbers, all others short
    std::string value;
    for (const unsigned v : list) value += put(v, wide ? 4 : 2);
    directory += put(tag, 2) + put(wide ? 4 : 3, 2) + put(list.size(), 4);
    directory += value.size() > 4 ? put(8 + data.size() + values.size(), 4) : value + std::string(4 - value.size(), 0);
    if (value.size() > 4) values += value;
  }
  return (big_endian ? "MM" : "II") + put(42, 2) + put(8 + data.size() + values.size(), 4) + data + values + directory +
         put(0, 4);
}

// Two tiles of 16 x 16 side by side for an image of 17 columns: 1 and 2 in the last two pixels, 9 outside the image.
std::string tiles() {
  std::string left(256, '\0'), right(256, 9);
  left[15] = 1;
  right[0] = 2;
  return left + right;
}

struct Sample {
  const char* name;
  std::string file;
  const char* picture;
};

std::vector<Sample> tiff_samples() {
  const std::vector<unsigned> map = {0, 0x8000, 0xffff, 0, 0, 0, 0, 0x1200, 0, 0xff00, 1, 0x100};
  const std::vector<unsigned> gray_map = {0, 0x8000, 0xffff, 9, 0, 0x8000, 0xffff, 9, 0, 0x8000, 0xffff, 9};
  return {
      {"1 bit", tiff(9, 1, bytes({0xa5, 0x80}), {{bits, {1}}}), "9x1 byte | 255 0 255 0 0 255 0 255 255"},
      {"1 bit, white is zero", tiff(3, 1, bytes({0x40}), {{bits, {1}}, {photometric, {0}}}), "3x1 byte | 255 0 255"},
      {"2 bits", tiff(4, 1, bytes({0x1b}), {{bits, {2}}}), "4x1 byte | 0 85 170 255"},
      {"4 bits", tiff(3, 1, bytes({0x0f, 0x70}), {{bits, {4}}}), "3x1 byte | 0 255 119"},
      {"12 bits", tiff(2, 2, bytes({0x12, 0x3f, 0xff, 0, 0, 0x10}), {{bits, {12}}}), "2x2 uint2 | 291 4095 0 16"},
      {"10 bits, white is zero", tiff(1, 1, bytes({0x40, 0}), {{bits, {10}}, {photometric, {0}}}), "1x1 uint2 | 767"},
      {"bits the other way", tiff(2, 1, bytes({0x80, 0x01}), {{fill_order, {2}}}), "2x1 byte | 1 128"},
      {"big-endian", tiff(2, 1, bytes({1, 2, 0xff, 0xfe}), {{bits, {16}}}, true), "2x1 uint2 | 258 65534"},
      {"unsigned 32 bits", tiff(1, 1, bytes({0xff, 0xff, 0xff, 0xff}), {{bits, {32}}}), "1x1 int8 | 4294967295"},
      {"half floats", tiff(3, 1, bytes({0, 0x3e, 0, 0xfc, 1, 0x80}), {{bits, {16}}, {format, {3}}}),
       "3x1 real | 1.5 -inf -5.9604645e-08"},
      {"24-bit floats", tiff(2, 1, bytes({0, 0x80, 0x3f, 0, 0, 0xc0}), {{bits, {24}}, {format, {3}}}),
       "2x1 real | 1.5 -2"},
      {"doubles", tiff(1, 1, be({0x3ff4000000000000}, 8), {{bits, {64}}, {format, {3}}}, true), "1x1 real | 1.25"},
      {"odd start", tiff(1, 1, bytes({0, 1, 2}), {{bits, {16}}, {offsets, {9}}, {counts, {2}}}), "1x1 uint2 | 513"},
      {"channels", tiff(2, 1, "abcdefghij", {{samples, {5}}, {extra, {0, 0, 0, 0}}}),
       "2x1 byte | 97 102 | 98 103 | 99 104 | 100 105 | 101 106"},
      {"planes in strips",
       tiff(1, 2, "abcd",
            {{samples, {2}}, {planes, {2}}, {rows, {1}}, {offsets, {8, 9, 10, 11}}, {counts, {1, 1, 1, 1}}}),
       "1x2 byte | 97 98 | 99 100"},
      {"tiles",
       tiff(17, 1, tiles(),
            {{tile_width, {16}}, {tile_height, {16}}, {tile_offsets, {8, 264}}, {tile_counts, {256, 256}}}),
       "17x1 byte | 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 1 2"},
      {"palette", tiff(4, 1, bytes({0x1b}), {{bits, {2}}, {photometric, {3}}, {color_map, map}}),
       "4x1 byte | 0 128 255 0 | 0 0 0 18 | 0 255 0 1"},
      {"gray palette", tiff(3, 1, bytes({0x18}), {{bits, {2}}, {photometric, {3}}, {color_map, gray_map}}),
       "3x1 byte | 0 128 255"},
      {"palette and alpha",
       tiff(2, 1, bytes({0x27, 0xf0}),
            {{bits, {2}}, {photometric, {3}}, {samples, {2}}, {extra, {2}}, {color_map, map}}),
       "2x1 byte | 0 128 | 0 0 | 0 255 | 2 3"},
      {"CMYK", tiff(2, 1, bytes({0, 173, 172, 93, 255, 0, 0, 0}), {{photometric, {5}}, {samples, {4}}}),
       "2x1 byte | 162 0 | 52 255 | 53 255"},
      {"L*a*b*", tiff(3, 1, bytes({128, 0, 0, 138, 81, 70, 75, 68, 144}), {{photometric, {8}}, {samples, {3}}}),
       "3x1 byte | 119 255 0 | 119 0 1 | 119 0 254"},
      {"ICC L*a*b*", tiff(1, 1, bytes({138, 209, 198}), {{photometric, {9}}, {samples, {3}}}),
       "1x1 byte | 255 | 0 | 0"},
      {"YCbCr in blocks",
       tiff(2, 2, bytes({10, 20, 30, 255, 128, 128}), {{photometric, {6}}, {samples, {3}}, {subsampling, {2, 2}}}),
       "2x2 byte | 10 20 30 255 | 10 20 30 255 | 10 20 30 255"},
      {"not turned", tiff(2, 1, "ab", {{274, {6}}}), "2x1 byte | 97 98"},
  };
}

class TiffAndJp2 : public testing::Test {
 protected:
  void SetUp() override {
    const std::string reason = failure([&] { written(ramp(1, 1), "tiff"), written(ramp(1, 1), "jp2"); });
    if (!reason.empty()) GTEST_SKIP() << reason;  // built without one of the libraries
  }
  std::string written(const HObject& image, const char* name) {
    const std::string path = folder_ / "written";
    WriteImage(image, name, 0, path.c_str());
    return read(path);
  }
  std::string opened(const std::string& file) {
    write(folder_ / "picture", file);
    return test::opened((folder_ / "picture").c_str());
  }
  std::string jp2(const std::string& pixel) {
    write(folder_ / "pixel", tiff(1, 1, pixel, {{samples, {static_cast<unsigned>(pixel.size())}}}));
    return written(read_image((folder_ / "pixel").c_str()), "jp2");
  }

 private:
  TempDir folder_;
};

// Replaces bytes at a distance from the first place where `place` stands.
std::string patched(std::string file, const char* place, std::size_t distance, const std::string& with) {
  return file.replace(file.find(place) + distance, with.size(), with);
}

TEST_F(TiffAndJp2, TiffOpensAsStored) {
  for (const Sample& sample : tiff_samples()) EXPECT_EQ(opened(sample.file), sample.picture) << sample.name;
}

// A little-endian file with its last page so often.
std::string paged(std::string file, int pages) {
  const auto* at = reinterpret_cast<const unsigned char*>(file.data() + 4);
  const std::string page = file.substr(at[0] + 256u * at[1]);
  for (int i = 1; i < pages; ++i) {
    file.replace(file.size() - 4, 4, le({static_cast<int>(file.size())}));
    file += page;
  }
  return file;
}

TEST_F(TiffAndJp2, TiffOpensAllPages) {
  constexpr unsigned subfile = 254;  // 1: the page is a smaller copy of another one, 4: a mask
  const std::string one = tiff(2, 1, "ab", {{subfile, {0}}});
  EXPECT_EQ(opened(paged(one, 3)), "2x1 byte | 97 98 + 2x1 byte | 97 98 + 2x1 byte | 97 98");
  for (const char kind : {1, 4}) {
    std::string copy = paged(one, 2);
    copy[copy.rfind(le({subfile}, 2)) + 8] = kind;
    EXPECT_EQ(opened(copy), "2x1 byte | 97 98");
  }
  std::string damaged = paged(one, 2);
  damaged[damaged.rfind(le({bits}, 2)) + 8] = 24;
  EXPECT_THAT(opened(damaged), HasSubstr("page 2: its samples are 24-bit"));
}

// Pages that name the same bytes as often as they like, and strips.
#ifdef M_PERTURB
// 2048 deflated letters, one bit of them wrong: libtiff tells of no fault and leaves the end of the strip as it was.
TEST_F(TiffAndJp2, TiffShowsNoOldMemoryInMissingPixels) {
  const std::string damaged =
      "\x78\xda\x4b\x4c\x1c\x05\xa3\x60\x14\x8c\x82\x51\x30\x0a\x46\xc1\x58\x03\0\x41\xfe\x08\x2e"s;
  const std::string file = tiff(4, 512, damaged, {{compression, {8}}});
  std::vector<std::string> found;
  for (const int old_memory : {0x55, 0x2a}) {
    mallopt(M_PERTURB, old_memory);  // what new blocks are filled with
    found.push_back(opened(file));
  }
  mallopt(M_PERTURB, 0);
  EXPECT_EQ(found[0], found[1]);
}
#endif

TEST_F(TiffAndJp2, TiffCountsSharedBytesOnce) {
  constexpr unsigned pack_bits = 32773;
  const std::string idle = std::string(59998, '\x80') + "\0x"s;  // codes that give no pixel, then one of one pixel
  std::vector<unsigned> same(1200, 8), size(1200, 60000);
  const std::string strips =
      tiff(1, 1200, idle, {{compression, {pack_bits}}, {rows, {1}}, {offsets, same}, {counts, size}});
  EXPECT_THAT(opened(strips), HasSubstr("strips overlap by more than 67108864 bytes"));
  std::string blank;
  for (int i = 0; i < 8; ++i) blank += bytes({0x81, 7});
  const std::string page = tiff(1024, 1, blank, {{compression, {pack_bits}}});
  EXPECT_THAT(opened(paged(page, 70000)), HasSubstr("holds more than 65536 images"));
  const std::string counted = tiff(1, 1, "a", {{counts, std::vector<unsigned>(25000, 1)}});
  EXPECT_THAT(opened(paged(counted, 2000)), HasSubstr("directories name more than 67108864 bytes of values"));
}

TEST_F(TiffAndJp2, TiffRejectsWhatNoPixelHolds) {
  const std::pair<std::string, const char*> table[] = {
      {tiff(1, 1, "abc", {{bits, {24}}}), "24-bit unsigned integers"},
      {tiff(1, 1, "abcdefgh", {{bits, {64}}}), "64-bit unsigned integers"},
      {tiff(1, 1, "abcdefgh", {{bits, {64}}, {format, {6}}}), "64-bit complex numbers"},
      {tiff(1, 1, "abc", {{photometric, {32845}}, {samples, {3}}}), "SGI LogLuv colors"},
      {tiff(1u << 31, 1u << 31, "a", {}), "larger than the 1048576"},
      {tiff(1 << 20, 1 << 12, "a", {{compression, {5}}}), "more than a file of"},
      {tiff(100, 100, "a", {}), "of at least 10000 bytes"},
      {tiff(2, 2, "abcd", {{rows, {1}}, {offsets, {8, 10}}, {counts, {2, 1}}}), "strip 1 has 1 of 2 bytes"},
      {tiff(2, 2, "abcd", {{offsets, {60000}}}), "strip 0 has 0 of 4 bytes"},
      {tiff(1, 1, "a", {{samples, {5000}}}), "5000 channels"},
      {tiff(1, 1, "a", {{tile_width, {65520}}, {tile_height, {65520}}, {tile_offsets, {8}}, {tile_counts, {1}}}),
       "too large"},
      {tiff(9, 9, "abcdefgh", {{compression, {5}}}), "ReadImage: '"},
  };
  for (const auto& [file, reason] : table) EXPECT_THAT(opened(file), HasSubstr(reason));
}

TEST_F(TiffAndJp2, KeepEveryTypeAndChannelCount) {
  for (const std::string type : {"byte", "int1", "int2", "uint2", "int4", "int8", "real"})
    for (int channels = 1; channels <= 6; ++channels) {
      const HObject image = noise(type.c_str(), 37, 19, channels);
      EXPECT_EQ(opened(written(image, "tiff")), pixels(image));
      std::string back = pixels(image);
      const std::string reason = failure([&] { back = opened(written(image, "jp2")); });
      EXPECT_EQ(back, pixels(image));
      EXPECT_THAT(reason, HasSubstr(type == "real" || type == "int4" || type == "int8"
                                        ? "JPEG 2000 holds byte, int1, uint2 and int2 images, not"
                                        : ""));
      EXPECT_EQ(reason.empty(), type != "real" && type != "int4" && type != "int8");
    }
}

TEST_F(TiffAndJp2, Jp2TurnsColorsIntoRgb) {
  constexpr std::size_t color_space = 4 + 3 + 3;  // its last byte, from the name of the box on
  const std::string ycc = jp2(bytes({77, 83, 250})), cmyk = jp2(bytes({0, 173, 172, 93}));
  EXPECT_EQ(opened(patched(ycc, "colr", color_space, bytes({18}))), "1x1 byte | 248 | 5 | 0");
  EXPECT_EQ(opened(patched(cmyk, "colr", color_space, bytes({12}))), "1x1 byte | 162 | 52 | 53");
}

TEST_F(TiffAndJp2, Jp2AppliesPalettes) {
  const std::string index = jp2(bytes({1}));
  const std::size_t header = index.find("jp2h"), length = static_cast<unsigned char>(index[header - 1]);
  // Two colors, black and `entry`; each column becomes a channel.
  const auto with_palette = [&](const std::string& entry) {
    const std::size_t columns = entry.size();
    std::string entries = std::string(columns, 7) + std::string(columns, 0) + entry, channels;
    for (std::size_t i = 0; i < columns; ++i) channels += bytes({0, 0, 1}) + static_cast<char>(i);
    const std::string palette = be({static_cast<int>(11 + entries.size())}) + "pclr" + bytes({0, 2}) +
                                static_cast<char>(columns) + entries + be({static_cast<int>(8 + channels.size())}) +
                                "cmap" + channels;
    std::string file = std::string(index).replace(header - 4, 4, be({static_cast<int>(length + palette.size())}));
    return file.insert(header - 4 + length, palette);
  };
  EXPECT_EQ(opened(with_palette(bytes({9}))), "1x1 byte | 9");
  EXPECT_EQ(opened(with_palette(bytes({7, 8, 9}))), "1x1 byte | 7 | 8 | 9");
  EXPECT_EQ(opened(with_palette(bytes({7, 7, 7}))), "1x1 byte | 7");
}

// Only what was checked reaches the decoder: no palette outside of the header, nothing after the codestream, no segment
// inside another one.
TEST_F(TiffAndJp2, Jp2ReadsOnlyWhatIsChecked) {
  const std::string file = jp2(bytes({1}));
  const std::string palette = be({8 + 3 + 255 + 2 * 255}) + "pclr" + bytes({0, 2, 255}) + std::string(255, 7) +
                              std::string(2 * 255, 9) + be({8 + 4 * 255}) + "cmap" + std::string(4 * 255, 0);
  EXPECT_EQ(opened(std::string(file).insert(file.find("jp2c") - 4, palette)), "1x1 byte | 1");
  std::string more = file;
  more.replace(file.find("jp2c") - 4, 4, be({static_cast<int>(file.size() - file.find("jp2c") + 4)}));
  EXPECT_EQ(opened(more + palette), "1x1 byte | 1");
  const std::size_t coding = file.find("\xff\x52");
  EXPECT_THAT(opened(std::string(file).insert(coding, bytes({0xff, 0x30, 0, 2}))), HasSubstr("marker 0xff30"));
}

// A declared size is checked before anything is allocated for it. Distances from the marker of the segment.
TEST_F(TiffAndJp2, Jp2RejectsDeclaredSizes) {
  const std::string file = written(noise("byte", 37, 19, 3), "jp2");
  const std::tuple<const char*, std::size_t, std::string, const char*> table[] = {
      {"\xff\x51", 6, be({1u << 31}), "larger than the 1048576"},
      {"\xff\x51", 6, be({1u << 19}) + be({1 << 19}), "bytes; at most"},
      {"\xff\x51", 6, be({1u << 14}) + be({1 << 14}), "more than a file of"},
      {"\xff\x51", 22, be({1}) + be({1}), "declares 703 tiles"},
      {"\xff\x51", 22, be({0}), "tiles have no size"},
      {"\xff\x51", 38, be({9999}, 2), "9999 channels"},
      {"\xff\x52", 6, be({65535}, 2), "in each of 65535 layers"},
      {"\xff\x52", 9, bytes({40}), "40 levels"},
      {"\xff\x90", 4, bytes({0, 1}), "tile 1 is not one of 1"},
      {"\xff\x90", 6, be({5}), "tile part of 5 bytes"},
      {"\xff\x90", 6, be({1u << 30}), "ends too early"},
  };
  for (const auto& [marker, distance, value, reason] : table)
    EXPECT_THAT(opened(patched(file, marker, distance, value)), HasSubstr(reason));
}

TEST_F(TiffAndJp2, CutAnywhereAreWholeOrRejected) {
  const HObject image = noise("byte", 17, 9, 3);
  const std::string whole = pixels(image), boxed = written(image, "jp2");
  const std::string bare = boxed.substr(boxed.find("\xff\x4f\xff\x51"));
  for (const std::string& file : {written(image, "tiff"), boxed, bare}) {
    EXPECT_EQ(opened(file), whole);
    for (std::size_t size = 0; size < file.size(); size += size < 150 || size + 20 > file.size() ? 1 : 17)
      ASSERT_THAT(opened(file.substr(0, size)), AnyOf(whole, StartsWith("ReadImage: '"))) << size;
  }
}

}  // namespace
