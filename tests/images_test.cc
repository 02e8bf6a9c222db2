// Image files of the built-in class interface: what PNG, JPEG and PNM files hold, what is written, what is rejected.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "support/bytes.h"
#include "support/files.h"
#include "support/objects.h"
#include "support/values.h"

using namespace test;
using testing::AnyOf;
using testing::HasSubstr;
using namespace std::string_literals;

namespace {

// What a codec that this build does without answers.
bool left_out(const std::string& answer) { return answer.find(": this build ") != std::string::npos; }

template <class T>
HObject sample_of(const char* type, int channels) {
  std::vector<HObject> planes;
  for (int c = 1; c <= channels; ++c)
    planes.push_back(image_of<T>(type, {static_cast<T>(c), 0, static_cast<T>(-1), 128, static_cast<T>(10 * c), 7}, 3));
  return composed(planes);
}
HObject sample(const std::string& type, int channels) {
  return type == "byte" ? sample_of<std::uint8_t>("byte", channels) : sample_of<std::uint16_t>("uint2", channels);
}

std::string chunk(const std::string& name_and_data) {
  return be({static_cast<int>(name_and_data.size()) - 4}) + name_and_data + be({crc32(name_and_data)});
}

// `rows` as they are compressed: each with a filter byte 0 in front. `extra` are the chunks between header and pixels.
std::string png(std::uint32_t width, std::uint32_t height, char depth, char color, const std::string& rows,
                const std::string& extra = "", char interlaced = 0) {
  std::uint32_t a = 1, b = 0;
  for (const char c : rows) a = (a + static_cast<std::uint8_t>(c)) % 65521, b = (b + a) % 65521;
  const auto size = static_cast<std::uint16_t>(rows.size());
  const std::string stored = "\1" + le({size, ~size}, 2);
  return "\x89PNG\r\n\x1a\n" + chunk("IHDR" + be({width, height}) + std::string{depth, color, 0, 0, interlaced}) +
         extra + chunk("IDAT\x78\x01" + stored + rows + be({b << 16 | a})) + chunk("IEND");
}

// A progressive JPEG of one pixel whose every coefficient comes bit by bit in scans of its own.
std::string jpeg_of_many_scans() {
  const auto table = [](char index) { return "\xff\xc4\0\x14"s + index + "\1" + std::string(16, '\0'); };
  std::string file = "\xff\xd8\xff\xdb\0\x43\0"s + std::string(64, 1) + "\xff\xc2\0\x0b\x08\0\1\0\1\1\1\x11\0"s +
                     table(0) + table(0x10) + "\xff\xda\0\x08\1\1\0\0\0\0\x7f"s;
  for (char coefficient = 1; coefficient < 64; ++coefficient)
    for (int low = 13; low >= 0; --low)
      file += "\xff\xda\0\x08\1\1\0"s + coefficient + coefficient +
              static_cast<char>(low == 13 ? low : (low + 1) << 4 | low) + '\x7f';
  return file + "\xff\xd9";
}

const std::string palette = chunk("PLTE\1\2\3\4\5\6"s), gray_palette = chunk("PLTE\7\7\7\x09\x09\x09"s);
const std::string jpeg_header = "\xff\xd8\xff\xc1\0\x0b\x0c\0\1\0\1\1\1\x11\0\xff\xda\0\x08\1\1\0\0\x3f\0"s;

TEST(Images, FilesOpenAsWhatTheyHold) {
  const std::tuple<const char*, std::string, std::string> cases[] = {
      {"p1", "P1 # bits\n3 2\n1 0 1\n011", "3x2 byte | 0 255 0 255 0 0"},
      {"p2", "P2\n3 1\n15\n0 15 7", "3x1 byte | 0 255 119"},
      {"p2 wide", "P2\n2 #\n1 1000\n1000 1\n", "2x1 uint2 | 65535 66"},
      {"p3", "P3 1 2 255 1 2 3 4 5 6", "1x2 byte | 1 4 | 2 5 | 3 6"},
      {"p4", "P4\n9 1\n\x80\x7f", "9x1 byte | 0 255 255 255 255 255 255 255 255"},
      {"p5", "P5\n2 1\n255\n#\n", "2x1 byte | 35 10"},
      {"p5 and p4", "P5 1 1 255\n#\nP4 2 1\n\x40", "1x1 byte | 35 + 2x1 byte | 255 0"},
      {"p5 and a line", "P5 1 1 255\n#\nPS", "1x1 byte | 35"},
      {"p5 wide", "P5\n1 2\n65535\n\1\2\3\4", "1x2 uint2 | 258 772"},
      {"p6", "P6 1 1 127 \x7f\0\1"s, "1x1 byte | 255 | 0 | 2"},
      {"p7", "P7\n# named\nWIDTH 1\nHEIGHT 1\nDEPTH 2\nMAXVAL 255\nTUPLTYPE X\nENDHDR\n\x08\x09", "1x1 byte | 8 | 9"},
      {"gray 1", png(3, 1, 1, 0, "\0\xa0"s), "3x1 byte | 255 0 255"},
      {"gray 2", png(4, 1, 2, 0, "\0\x1b"s), "4x1 byte | 0 85 170 255"},
      {"gray 4", png(2, 1, 4, 0, "\0\x2f"s), "2x1 byte | 34 255"},
      {"gray 16", png(1, 2, 16, 0, "\0\1\2\0\3\4"s), "1x2 uint2 | 258 772"},
      {"gray, alpha", png(1, 1, 8, 4, "\0\5\0"s), "1x1 byte | 5 | 0"},
      {"palette", png(3, 1, 1, 3, "\0\xa0"s, palette), "3x1 byte | 4 1 4 | 5 2 5 | 6 3 6"},
      {"gray palette", png(2, 1, 8, 3, "\0\1\0"s, gray_palette), "2x1 byte | 9 7"},
      {"transparent palette", png(2, 1, 8, 3, "\0\1\0"s, gray_palette + chunk("tRNS\x64")),
       "2x1 byte | 9 7 | 9 7 | 9 7 | 255 100"},
      {"color key", png(1, 1, 8, 2, "\0\1\2\3"s, chunk("tRNS\0\1\0\2\0\3"s)), "1x1 byte | 1 | 2 | 3"},
      {"gamma", png(1, 1, 8, 0, "\0\x64"s, chunk("gAMA" + be({20000}))), "1x1 byte | 100"},
      {"interlaced", png(2, 2, 8, 0, "\0\1\0\2\0\3\4"s, "", 1), "2x2 byte | 1 2 3 4"},
      {"interlaced color", png(2, 1, 8, 2, "\0\1\2\3\0\4\5\6"s, "", 1), "2x1 byte | 1 4 | 2 5 | 3 6"},
  };
  const TempDir folder;
  for (const auto& [name, content, expected] : cases) {
    write(folder / "x.jpg", content);  // no name decides
    const std::string found = opened((folder / "x.jpg").c_str());
    if (left_out(found)) continue;
    EXPECT_EQ(found, expected) << name;
  }
}

TEST(Images, BadFilesAreRejectedWithTheReason) {
  const std::string whole = png(1, 1, 8, 0, "\0\5"s), huge = png(0x7fffffff, 0x7fffffff, 8, 0, "\0\5"s);
  std::string damaged = whole;
  damaged[damaged.size() - 14] ^= 1;  // in the checksum of the pixels
  const std::tuple<const char*, std::string, std::string> cases[] = {
      {"empty", "", "the file is empty"},
      {"text", "Hello", "is not an image file of a known format"},
      {"objects", "QVHALCON\1" + std::string(9, 0), "holds iconic objects: ReadObject opens it"},
      {"a.hdict", "QVHALCON\1\1 and more", "holds a dictionary: ReadDict opens it"},
      {"a.om3", "QVHALCON\1\3 and more", "holds a 3D object model: ReadObjectModel3d opens it"},
      {"a.hdl", "QVHALCON\1\4 and more", "holds a deep-learning model: ReadDlModel opens it"},
      {"a.json", "{}", "ReadDict opens files named .json"},
      {"a.ima", "Hello", "an installed HALCON"},
      {"maximum 0", "P5\n1 1\n0\n1", "the largest sample is 0"},
      {"maximum 65536", "P5\n1 1\n65536\n1", "the largest sample is 65536"},
      {"above the maximum", "P2 1 1 300 301", "301 is above the largest, 300"},
      {"negative", "P2 -1 1 255 1", "expected a number, found '-'"},
      {"no bit", "P1 2 1 1 2", "expected a bit, found '2'"},
      {"endless number", "P5 99999999999999999999", "larger than"},
      {"large plain", "P2 100000 100000 255 1 2", "can hold"},
      {"no size", "P7\nWIDTH 3\nENDHDR\n", "the largest sample is 0"},
      {"missing row", "P5 2 2 255 123", "ends too early"},
      {"large png", huge, "1048576"},
      {"bombing png", png(60000, 60000, 8, 0, "\0\5"s), "can hold"},
      {"cut png", whole.substr(0, whole.size() - 20), "ends too early"},
      {"damaged png", damaged, "CRC"},
      {"12-bit jpeg", jpeg_header, "12 bits per sample is not read"},
      {"lossless jpeg", "\xff\xd8\xff\xc3\0\x0b\x08\0\1\0\1\1\1\x11\0"s, "lossless JPEG is not read"},
      {"jpeg of many scans", jpeg_of_many_scans(), "more than 100 scans"},
  };
  const TempDir folder;
  for (const auto& [name, content, reason] : cases) {
    write(folder / name, content);
    const std::string found = opened((folder / name).c_str());
    EXPECT_THAT(found, HasSubstr("ReadImage: '" + folder / name + "': "));
    EXPECT_THAT(found, HasSubstr(left_out(found) ? "" : reason)) << name;
  }
}

TEST(Images, OneFileUnderSeveralNamesIsReadOnce) {
  const TempDir folder;
  const std::string name = folder / "a.pgm", link = folder / "link", other = folder / "other";
  write(name, "P5 1 1 255\nx");
  write(other, "P5 1 1 255\nx");
  std::filesystem::create_hard_link(name, link);
  HTuple files;
  for (const std::string& each : {name, folder / "./a.pgm", link, name, other}) files.Append(each.c_str());
  const HObject images = read_image(files);
  std::vector<void*> pixels;
  for (int i = 1; i <= 5; ++i) {
    HObject one;
    SelectObj(images, &one, i);
    HalconCpp::HString type;
    Hlong width, height;
    pixels.push_back(HalconCpp::HImage(one).GetImagePointer1(&type, &width, &height));
  }
  EXPECT_EQ(std::count(pixels.begin(), pixels.end(), pixels[0]), 4);
  EXPECT_NE(pixels[4], pixels[0]);
}

TEST(Images, ManyFilesKeepTheirOrderAndFailInIt) {
  const test::TempDir folder;
  HTuple files;
  for (int i = 1; i <= 60; ++i) {
    const std::string path = folder / (std::to_string(i) + ".pgm");
    test::write(path, "P5 " + std::to_string(i) + " 1 255\n" + std::string(static_cast<std::size_t>(i), 'x'));
    files.Append(path.c_str());
  }
  HObject images, one;
  HalconCpp::ReadImage(&images, files);
  for (int i = 1; i <= 60; ++i) {
    HalconCpp::SelectObj(images, &one, i);
    EXPECT_EQ(HalconCpp::HImage(one).Width()[0].L(), i);
  }
  for (const char* name : {"58.pgm", "23.pgm", "24.pgm"}) test::write(folder / name, "P5 9 9 255\n");
  try {
    HalconCpp::ReadImage(&images, files);
    ADD_FAILURE() << "a cut file was read";
  } catch (const HalconCpp::HException& failure) {
    EXPECT_NE(std::string(failure.ErrorMessage().Text()).find("23.pgm"), std::string::npos);
  }
}

// 18 images of 17 MB, all pixels of image i equal to i % 2: more than what is decoded at opening, and than the cache
// holds.
class ManyImages : public ::testing::Test {
 protected:
  static constexpr int count = 18;
  void SetUp() override {
    for (int i = 0; i < count; ++i) {
      const std::string name = path(i);
      files.Append(name.c_str());
      if (i >= 2) {
        std::filesystem::copy_file(native(path(i % 2)), native(name));
        continue;
      }
      const std::vector<std::uint8_t> pixels(4096 * 4200, static_cast<std::uint8_t>(i));
      HalconCpp::WriteImage(image_of<std::uint8_t>("byte", pixels, 4096), "png", 0, name.c_str());
    }
  }
  std::string path(int i) const { return folder / (std::to_string(i) + ".png"); }
  static HalconCpp::HImage at(const HObject& images, int i) {
    HObject one;
    HalconCpp::SelectObj(images, &one, i + 1);
    return HalconCpp::HImage(one);
  }
  static const std::uint8_t* pixels(const HalconCpp::HImage& image) {
    Hlong width, height, pitch, step, bits;
    return static_cast<const std::uint8_t*>(image.GetImagePointer1Rect(&width, &height, &pitch, &step, &bits));
  }
  TempDir folder;
  HTuple files;
};

TEST_F(ManyImages, AreDecodedWhenTheyAreAskedFor) {
  if (left_out(failure([&] { read_image(files[0]); }))) GTEST_SKIP() << "built without libpng";
  const HObject images = read_image(files);
  const HalconCpp::HImage first = at(images, 0);
  const std::uint8_t* const kept = pixels(first);
  std::atomic<int> wrong{0};
  const auto draw_all = [&] {
    for (int i = 0; i < count; ++i) {
      const HalconCpp::HImage image = at(images, i);
      const std::uint8_t* const from = pixels(image);
      if (from[0] != i % 2 || from[4096 * 4200 - 1] != i % 2) ++wrong;
    }
  };
  std::thread other(draw_all);
  draw_all();
  other.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(kept[4096 * 4200 - 1], 0) << "a pointer stays good while its image lives, whatever the cache drops";
  // Operators that read pixels see the same as those of an image that was read alone.
  const HalconCpp::HImage third = at(images, 3);
  HObject wide, stretched, channels;
  HalconCpp::ConvertImageType(third, &wide, "int2");
  EXPECT_EQ(pixels(HalconCpp::HImage(wide))[0], 1);
  HalconCpp::ScaleImageMax(third, &stretched);
  EXPECT_EQ(pixels(HalconCpp::HImage(stretched))[0], 0);
  HalconCpp::InterleaveChannels(composed({third, first, third}), &channels, "bgr", "match", 255);
  const std::uint8_t* const bgr = pixels(HalconCpp::HImage(channels));
  EXPECT_EQ(std::vector<int>(bgr, bgr + 3), (std::vector<int>{1, 0, 1}));
  save(third, folder / "saved.hobj");
  EXPECT_EQ(pixels(HalconCpp::HImage(read_objects(folder / "saved.hobj")))[0], 1);
}

TEST_F(ManyImages, FailWhenTheyAreAskedFor) {
  if (left_out(failure([&] { read_image(files[0]); }))) GTEST_SKIP() << "built without libpng";
  const std::string whole = read(path(0));
  write(path(3), whole.substr(0, whole.size() / 2));
  const std::string as_ever = failure([&] { read_image(files[3]); });
  EXPECT_THAT(failure([&] { read_image(HTuple(files[3]).Append(files[4])); }), as_ever) << "few images fail at opening";
  const HObject images = read_image(files);
  write(path(5), whole + "more");
  std::filesystem::remove(native(path(6)));
  const std::pair<int, std::string> cases[] = {{3, as_ever.substr(as_ever.find('\''))},
                                               {5, "'" + path(5) + "': the file was changed after it was opened"},
                                               {6, "'" + path(6) + "': no such file"}};
  for (const auto& [i, reason] : cases) {
    const HalconCpp::HImage image = at(images, i);
    EXPECT_EQ(image.Width()[0].L(), 4096);
    EXPECT_EQ(failure([&] { pixels(image); }), "GetImagePointer1Rect: " + reason);
    EXPECT_THAT(failure([&] { HalconCpp::WriteImage(image, "png", 0, (folder / "out.png").c_str()); }),
                HasSubstr(reason));
  }
  // What a header says is checked at opening.
  write(path(3), whole);
  std::filesystem::copy_file(native(path(0)), native(path(6)));
  write(path(7), whole.substr(0, 20));
  EXPECT_THAT(failure([&] { read_image(files); }), HasSubstr("7.png': PNG: "));
}

TEST(Images, WrittenImagesReadBackTheSame) {
  const struct {
    const char *format, *type;
    std::vector<int> channels;
  } cases[] = {{"png", "byte", {1, 2, 3, 4}}, {"png", "uint2", {1, 2, 3, 4}}, {"pnm", "byte", {1, 3}},
               {"pnm", "uint2", {1, 3}},      {"pgm", "byte", {1}},           {"pgm", "uint2", {1}},
               {"ppm", "byte", {3}},          {"ppm", "uint2", {3}}};
  const TempDir folder;
  const std::string path = folder / "x", bits = folder / "bits";
  for (const auto& each : cases)
    for (const int channels : each.channels) {
      const HObject image = sample(each.type, channels);
      if (left_out(failure([&] { WriteImage(image, each.format, 0, path.c_str()); }))) continue;
      EXPECT_EQ(opened(path.c_str()), pixels(image)) << each.format;
    }
  const HObject image = image_of<std::uint8_t>("byte", {0, 255, 0, 0, 0, 0, 0, 0, 255});
  WriteImage(image, "pbm", 0, bits.c_str());
  EXPECT_EQ(read(bits), "P4\n9 1\n\xbf\0"s);
  HObject second;
  SelectObj(read_image(tuple({path.c_str(), bits.c_str()})), &second, 2);
  EXPECT_EQ(pixels(second), pixels(image));
}

TEST(Images, JpegKeepsColorsNearlyAndNoticesCuts) {
  const TempDir folder;
  const std::string path = folder / "x.jpg";
  const HObject color = composed({image_of<std::uint8_t>("byte", {200}), image_of<std::uint8_t>("byte", {100}),
                                  image_of<std::uint8_t>("byte", {50})});
  if (left_out(failure([&] { WriteImage(color, "jpg", 0, path.c_str()); }))) GTEST_SKIP() << "no JPEG in this build";
  const HObject read_back = read_image(path.c_str());
  for (const auto& [index, expected] : {std::pair{1, 200}, {2, 100}, {3, 50}})
    EXPECT_NEAR(plane(read_back, index).reals()[0], expected, 4);
  const std::string whole = read(path), image = pixels(read_back);
  for (std::size_t size = 0; size < whole.size(); size += 3) {
    write(path, whole.substr(0, size));
    const std::string result = opened(path.c_str());
    // Without its end marker the image may still be whole.
    EXPECT_THAT(result, AnyOf(HasSubstr("ReadImage: "), size + 3 < whole.size() ? "" : image)) << size;
  }
}

TEST(Images, FillColorsCoverWhatIsOutsideTheDomain) {
  const TempDir folder;
  const std::string path = folder / "x.pnm";
  const HObject image = with_domain(sample("byte", 3), 0, 1, 0, 2);
  WriteImage(image, "pnm", tuple({1000, 2.6, -1}), path.c_str());
  EXPECT_EQ(opened(path.c_str()), "3x2 byte | 255 0 255 255 255 255 | 3 0 255 3 3 3 | 0 0 255 0 0 0");
  const HObject wide = with_domain(sample("uint2", 1), 5, 5, 6, 6);
  WriteImage(wide, "pgm", 300.5, path.c_str());
  EXPECT_EQ(opened(path.c_str()), "3x2 uint2 | 301 301 301 301 301 301");
}

TEST(Images, WhatCannotBeWrittenIsRejectedAndLeavesTheTarget) {
  const TempDir folder;
  const std::string path = folder / "x";
  write(path, "before");
  const HTuple one = path.c_str();
  const HObject bytes = sample("byte", 1), words = sample("uint2", 1), reals = ramp(2, 1, 1, "real");
  const HObject part = with_domain(sample("byte", 4), 0, 0, 0, 0);
  const struct {
    HObject image;
    HTuple format, fill_color, file;
    const char* reason;
  } cases[] = {
      {bytes, "gif", 0, one, "the format 'gif' is unknown; accepted are png, tiff, jpg, bmp, jp2, pnm, pgm, ppm, pbm"},
      {bytes, 1, 0, one, "the format must be one string"},
      {concat({bytes, words}), "pnm", 0, one, "2 images and 1 file names"},
      {concat({bytes, rectangle(0, 0, 1, 1)}), "pnm", 0, one, "\"region\" is not an image"},
      {empty_object(), "pnm", 0, one, "no image to write"},
      {HObject(), "pnm", 0, one, "the object is not set"},
      {part, "pnm", tuple({1, 2}), one, "the fill color has 2 values; the image has 4 channels"},
      {part, "pnm", "red", one, "the fill color must hold numbers only"},
      {reals, "png", 0, one, "PNG holds byte and uint2 images of 1 to 4 channels, not 1 channel of type real"},
      {sample("byte", 5), "png", 0, one, "not 5 channels of type byte"},
      {words, "jpg", 0, one, "JPEG holds byte images of 1 or 3 channels, not 1 channel of type uint2"},
      {sample("byte", 3), "pgm", 0, one, "PGM holds"},
      {bytes, "ppm", 0, one, "PPM holds"},
      {bytes, "pbm", 0, one, "pixels of 0 and 255 only, not 1"},
      {bytes, "pgm", 0, (path + "/y").c_str(), "its folder is a file"},
  };
  for (const auto& each : cases) {
    const std::string reason = failure([&] { WriteImage(each.image, each.format, each.fill_color, each.file); });
    EXPECT_THAT(reason, HasSubstr("WriteImage: ")) << each.reason;
    EXPECT_EQ(read(path), "before") << each.reason;
    if (left_out(reason)) continue;
    EXPECT_THAT(reason, HasSubstr(each.reason));
  }
}

}  // namespace
