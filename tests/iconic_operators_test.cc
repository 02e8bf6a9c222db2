// The iconic operators of the built-in class interface: pixel values, layouts, runs, lines and what they reject.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <future>
#include <initializer_list>
#include <limits>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "HalconHook.h"
#include "support/objects.h"
#include "support/values.h"

using namespace HalconCpp;
using namespace test;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

using Integers = std::vector<std::int64_t>;

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();

Integers pixels_of(const HObject& image) { return plane(image).integers(); }

HObject converted(const HObject& image, const char* type) {
  HObject result;
  ConvertImageType(image, &result, type);
  return result;
}

HObject stretched(const HObject& image) {
  HObject result;
  ScaleImageMax(image, &result);
  return result;
}

HObject region_of(std::initializer_list<HTuple> rows, std::initializer_list<HTuple> begins,
                  std::initializer_list<HTuple> ends) {
  HObject region;
  GenRegionRuns(&region, tuple(rows), tuple(begins), tuple(ends));
  return region;
}

TEST(ConvertImageType, RoundsAndSaturates) {
  const std::int64_t top4 = INT32_MAX, low4 = INT32_MIN, top8 = INT64_MAX, low8 = INT64_MIN;
  const HObject reals = image_of<float>("real", {nan, infinity, -infinity, 0.5F, -0.5F, 2.5F, -2.5F, 0.49999997F,
                                                 254.5F, -3e9F, 3e9F, 1e30F, 2147483520.F});
  const HObject integers = image_of<std::int64_t>("int8", {low8, -40000, -129, -1, 127, 200, 40000, 70000, top8});
  const HObject shorts = converted(integers, "int2");
  const std::tuple<HObject, const char*, Integers> table[] = {
      {reals, "byte", {0, 255, 0, 1, 0, 3, 0, 0, 255, 0, 255, 255, 255}},
      {reals, "int1", {0, 127, -128, 1, -1, 3, -3, 0, 127, -128, 127, 127, 127}},
      {reals, "int2", {0, 32767, -32768, 1, -1, 3, -3, 0, 255, -32768, 32767, 32767, 32767}},
      {reals, "uint2", {0, 65535, 0, 1, 0, 3, 0, 0, 255, 0, 65535, 65535, 65535}},
      {reals, "int4", {0, top4, low4, 1, -1, 3, -3, 0, 255, low4, top4, top4, 2147483520}},
      {reals, "int8", {0, top8, low8, 1, -1, 3, -3, 0, 255, -3000000000, 3000000000, top8, 2147483520}},
      {integers, "byte", {0, 0, 0, 0, 127, 200, 255, 255, 255}},
      {integers, "int1", {-128, -128, -128, -1, 127, 127, 127, 127, 127}},
      {integers, "int2", {-32768, -32768, -129, -1, 127, 200, 32767, 32767, 32767}},
      {integers, "uint2", {0, 0, 0, 0, 127, 200, 40000, 65535, 65535}},
      {integers, "int4", {low4, -40000, -129, -1, 127, 200, 40000, 70000, top4}},
      {shorts, "uint2", {0, 0, 0, 0, 127, 200, 32767, 32767, 32767}},
      {shorts, "real", {-32768, -32768, -129, -1, 127, 200, 32767, 32767, 32767}},
  };
  for (const auto& [image, type, expected] : table) EXPECT_EQ(pixels_of(converted(image, type)), expected) << type;

  std::vector<float> values;  // longer than any block, and no multiple of one
  Integers expected;
  for (int i = 0; i < 1031; ++i) {
    values.push_back(static_cast<float>(i) * 0.3F - 20);
    expected.push_back(std::lround(std::min(255.F, std::max(0.F, values.back()))));
  }
  EXPECT_EQ(pixels_of(converted(image_of("real", values), "byte")), expected);
}

TEST(ScaleImageMax, StretchesEveryPixelTypeToBytes) {
  const std::tuple<std::string, HObject, Integers> table[] = {
      {"byte", image_of<std::uint8_t>("byte", {10, 20, 30, 60}), {0, 51, 102, 255}},
      {"uint2", image_of<std::uint16_t>("uint2", {1000, 2000, 3000}), {0, 128, 255}},
      {"int1", image_of<std::int8_t>("int1", {-128, 0, 127}), {0, 128, 255}},
      {"int2", image_of<std::int16_t>("int2", {-100, 0, 155}), {0, 100, 255}},
      {"int4", image_of<std::int32_t>("int4", {2000000000, 2000000001, 2000000005}), {0, 51, 255}},
      {"int8", image_of<std::int64_t>("int8", {INT64_MIN, 0, INT64_MAX}), {0, 128, 255}},
      {"real", image_of<float>("real", {nan, -infinity, infinity, -1, 0, 1}), {0, 0, 255, 0, 128, 255}},
      {"huge", image_of<float>("real", {-3e38F, 0, 3e38F}), {0, 128, 255}},
      {"tiny", image_of<float>("real", {0, 1e-42F, 5e-42F}), {0, 51, 255}},
      {"constant", image_of<float>("real", {7, 7, infinity, nan, -infinity}), {0, 0, 255, 0, 0}},
      {"constant byte", image_of<std::uint8_t>("byte", {9, 9}), {0, 0}},
      {"nothing finite", image_of<float>("real", {nan, infinity, -infinity}), {0, 255, 0}},
  };
  for (const auto& [name, image, expected] : table) {
    EXPECT_EQ(pixels_of(stretched(image)), expected) << name;
    if (name == "int4") continue;  // floats do not tell these apart
    EXPECT_EQ(pixels_of(stretched(converted(image, "real"))), expected) << name;
  }
  // The extremes are found at any position.
  for (const std::size_t place : {0, 15, 16, 300, 1030}) {
    std::vector<float> values(1031, 100);
    values[place] = 355;
    EXPECT_EQ(pixels_of(stretched(image_of("real", values)))[place], 255) << place;
    values[place] = -155;
    EXPECT_EQ(pixels_of(stretched(image_of("real", values)))[place == 0 ? 1 : 0], 255) << place;
  }
}

TEST(ScaleImageMax, TakesAllChannelsTogetherAndTheDomainAlone) {
  HObject image, channel, reduced, empty;
  Compose2(image_of<std::int16_t>("int2", {0, 100, 50, 900}), image_of<std::int16_t>("int2", {200, 0, -30, 40}),
           &image);
  ReduceDomain(image, region_of({0}, {0}, {1}), &reduced);
  AccessChannel(stretched(reduced), &channel, 1);
  EXPECT_THAT(pixels_of(channel), ElementsAre(0, 128, 64, 255));
  AccessChannel(stretched(reduced), &channel, 2);
  EXPECT_THAT(pixels_of(channel), ElementsAre(255, 0, 0, 51));
  EXPECT_EQ(shown(HImage(stretched(reduced)).GetDomain()), "region 0 0 1\n");
  ReduceDomain(image, region_of({5}, {0}, {1}), &empty);
  EXPECT_THAT(pixels_of(stretched(empty)), ElementsAre(0, 0, 0, 0));
}

// Reals made from 8 and 16 bits are converted only when they are asked for.
template <class T>
std::pair<HObject, HObject> lazy_and_real(const char* type, Hlong width) {
  std::vector<T> integers;
  for (Hlong i = 0; i < 16384; ++i) integers.push_back(static_cast<T>(i * 7919));
  return {converted(image_of(type, integers, width), "real"),
          image_of("real", std::vector<float>(integers.begin(), integers.end()), width)};
}

TEST(ScaleImageMax, GivesTheSameForRealsThatWereIntegers) {
  std::vector<std::pair<HObject, HObject>> pairs = {
      lazy_and_real<std::uint8_t>("byte", 512), lazy_and_real<std::int8_t>("int1", 512),
      lazy_and_real<std::uint16_t>("uint2", 512), lazy_and_real<std::int16_t>("int2", 512)};
  pairs.emplace_back(composed({pairs[2].first, pairs[2].first}), composed({pairs[2].second, pairs[2].second}));
  pairs.emplace_back(composed({pairs[2].first, pairs[3].first}), composed({pairs[2].second, pairs[3].second}));
  pairs.emplace_back(composed({pairs[2].first, pairs[3].second}), composed({pairs[2].second, pairs[3].second}));
  for (const auto& [lazy, real] : pairs) {
    for (const Hlong last : {511, 300, 0}) {
      HObject some, same;
      ReduceDomain(lazy, region_of({0, 7}, {0, 0}, {last, last}), &some);
      ReduceDomain(real, region_of({0, 7}, {0, 0}, {last, last}), &same);
      EXPECT_EQ(pixels(stretched(some)), pixels(stretched(same))) << last;
    }
    const auto asked = std::async(std::launch::async, [&image = lazy] { return pixels(image); });
    EXPECT_TRUE(pixels(lazy) == pixels(real));
    EXPECT_EQ(pixels(stretched(lazy)), pixels(stretched(real)));
  }
}

TEST(InterleaveChannels, LaysBytesForDisplay) {
  for (const std::size_t width : {1, 3, 255, 256, 257, 1031}) {
    std::vector<std::uint8_t> planes[4];
    for (std::size_t i = 0; i < 3 * width; ++i)
      for (std::size_t k = 0; k < 4; ++k) planes[k].push_back(static_cast<std::uint8_t>(i * (2 * k + 3) + 50 * k));
    HObject c[4], three, four, bgr, bgra;
    for (std::size_t k = 0; k < 4; ++k) c[k] = image_of("byte", planes[k], static_cast<Hlong>(width));
    Compose3(c[0], c[1], c[2], &three);
    Compose4(c[1], c[2], c[3], c[0], &four);  // green, blue, alpha, red
    ReduceDomain(three, region_of({0}, {0}, {0}), &three);
    InterleaveChannels(three, &bgr, "bgr", "match", 255);
    InterleaveChannels(four, &bgra, "bgra", "match", 255);
    Integers expected3, expected4;
    for (std::size_t i = 0; i < 3 * width; ++i) {
      for (const std::size_t k : {2, 1, 0}) expected3.push_back(planes[k][i]);
      for (const std::size_t k : {2, 1, 0, 3}) expected4.push_back(planes[k][i]);
    }
    EXPECT_EQ(pixels_of(bgr), expected3) << width;
    EXPECT_EQ(pixels_of(bgra), expected4) << width;
    EXPECT_EQ(HImage(bgr).Width()[0].L(), static_cast<Hlong>(3 * width));
    EXPECT_EQ(HImage(bgra).Height()[0].L(), 3);
  }
}

TEST(Images, ShareTheirPixels) {
  const auto pointer = [](const HObject& image) {
    Hlong width, height, pitch, step, bits;
    return HImage(image).GetImagePointer1Rect(&width, &height, &pitch, &step, &bits);
  };
  const HObject image = image_of<std::uint8_t>("byte", {1, 2, 3, 4}, 2);
  HObject three, c1, c2, c3, reduced;
  Compose3(image, image, image, &three);
  Decompose3(three, &c1, &c2, &c3);
  Decompose3(three, &three, &c2, &c3);  // an output may be the operand
  ReduceDomain(image, region_of({0}, {0}, {0}), &reduced);
  for (const HObject& other : {three, c1, c2, c3, reduced, converted(image, "byte")})
    EXPECT_EQ(pointer(other), pointer(image));
}

TEST(Regions, AreUnionsOfTheirRuns) {
  // The runs, what of them lies in a frame of 4 x 3, and the frame with them in it.
  const std::tuple<HObject, std::string, std::string, std::string> table[] = {
      // Overlapping, touching, contained and apart, in any order.
      {region_of({2, 0, 0, 0, 0}, {1, 7, 0, 3, 1}, {1, 9, 2, 4, 1}), "(0,0,2) (0,7,1) (4,9,1)", "(0,2) (0,1) (3,1)",
       "255 255 255 255 7 7 7 7 7 255 7 7"},
      {region_of({-1, 1, 3}, {0, -5, 0}, {3, 0, 3}), "(-1,1,3) (0,-5,0) (3,0,3)", "1 0 0", "7 7 7 7 255 7 7 7 7 7 7 7"},
      {region_of({0, 0}, {INT32_MIN, 5}, {INT32_MAX, 6}), "0 -2147483648 2147483647", "0 0 3",
       "255 255 255 255 7 7 7 7 7 7 7 7"},
      {region_of({}, {}, {}), "() () ()", "() () ()", "7 7 7 7 7 7 7 7 7 7 7 7"},
  };
  for (const auto& [region, runs, inside, binary] : table) {
    EXPECT_EQ(shown(region), "region " + runs + "\n");
    HObject mask, frame, reduced;
    RegionToBin(region, &mask, 255, 7, 4, 3);
    EXPECT_EQ(pixels(mask), "4x3 byte | " + binary);
    GenImageConst(&frame, "byte", 4, 3);
    ReduceDomain(frame, region, &reduced);
    EXPECT_EQ(shown(HImage(reduced).GetDomain()), "region " + inside + "\n");
    ReduceDomain(reduced, rectangle(0, 0, 0, 0), &reduced);
    EXPECT_EQ(shown(HImage(reduced).GetDomain()), binary[0] == '2' ? "region 0 0 0\n" : "region () () ()\n");
  }
}

TEST(Regions, AreMeasuredOneByOne) {
  HObject circle;
  GenCircle(&circle, 5.0, 6.0, 1.0);
  HTuple area, row, column;
  AreaCenter(concat({rectangle(10, 20, 12, 25), region_of({}, {}, {}), circle}), &area, &row, &column);
  EXPECT_EQ(shown(area) + shown(row) + shown(column), "(18,0,5)(11.,0.,5.)(22.5,0.,6.)");
}

TEST(Lines, AnswerPointsLengthsAndAngles) {
  HTuple rows = tuple({0, 0, -4}), cols = tuple({0, 3, 3}), length, t[2];
  HObject parallel;
  GenParallelsXld(&parallel, HTuple(), HTuple(), rows, cols);
  HObject line = contour({0, 0, -4}, {0, 3, 3});
  const HObject all = concat({line, polygon({0, 0, -4}, {0, 3, 3}), parallel});
  LengthXld(all, &length);
  EXPECT_EQ(shown(length), "(7.,7.,0.)");
  EXPECT_EQ(shown(all),
            "xld_cont (0.,0.,-4.) (0.,3.,3.)\n"
            "xld_poly (0.,0.,-4.) (0.,3.,3.) (3.,4.) (-0.," +
                shown(std::atan2(4, 0)) +
                ")\n"
                "xld_parallel () () 0. 0. (0.,0.,-4.) (0.,3.,3.) (3.,4.) (-0.," +
                shown(std::atan2(4, 0)) + ")\n");
  GetContourXld(line, &t[0], &t[1]);
  line = HObject();  // the tuples keep what they read
  EXPECT_EQ(shown(t[0]) + shown(t[1]), "(0.,0.,-4.)(0.,3.,3.)");
}

TEST(ObjectTuples, KeepTheirOrder) {
  HTuple number, names;
  GetObjClass(empty_object(), &names);
  EXPECT_EQ(names.Length(), 0);
  HObject selected;
  const HObject all = concat({ramp(1, 1), region_of({}, {}, {}), contour({}, {}), polygon({1}, {2.5}), parallels()});
  CountObj(all, &number);
  EXPECT_EQ(number[0].L(), 5);
  SelectObj(all, &selected, tuple({5, 4, 1, 2, 3, 3}));
  GetObjClass(selected, &names);
  EXPECT_EQ(shown(names), "('xld_parallel','xld_poly','image','region','xld_cont','xld_cont')");
}

TEST(ObjectTuples, GrowByThemselvesInLinearTime) {
  const HObject one = region_of({1}, {2}, {3});
  HObject all = one, other;
  for (int i = 0; i < 100000; ++i) {
    if (i == 3) other = all;  // shared from here: a change of `all` must not show in it
    ConcatObj(all, one, &all);
  }
  ConcatObj(all, all, &all);
  HTuple number;
  CountObj(all, &number);
  EXPECT_EQ(number[0].L(), 200002);
  CountObj(other, &number);
  EXPECT_EQ(number[0].L(), 4);
}

TEST(Errors, NameTheOperatorAndTheReason) {
  const HObject unset, gray = image_of<std::uint8_t>("byte", {1, 2, 3, 4}, 2), deep = image_of<float>("real", {1});
  const HObject region = region_of({0}, {0}, {0});
  HObject two, three, images, out, none;
  Compose2(gray, gray, &two);
  Compose3(gray, gray, gray, &three);
  ConcatObj(gray, gray, &images);
  GenEmptyObj(&none);
  HTuple a, b, c;
  const std::pair<std::function<void()>, const char*> table[] = {
      {[&] { CountObj(unset, &a); }, "CountObj: the object is not set"},
      {[&] { SelectObj(images, &out, 3); }, "SelectObj: object 3 of a tuple of 2 objects does not exist"},
      {[&] { HImage{unset}; }, "HImage: the object is not set"},
      {[&] { HImage{region}; }, "HImage: expects an object of class \"image\", not \"region\""},
      {[&] { HRegion{gray}; }, "HRegion: expects an object of class \"region\", not \"image\""},
      {[&] { HImage(images).CountChannels(); }, "CountChannels: expects one object"},
      {[&] { HImage(none).GetDomain(); }, "GetDomain: expects one object of class \"image\", not 0 objects"},
      {[&] { ConvertImageType(region, &out, "byte"); }, "ConvertImageType: expects an object of class \"image\""},
      {[&] { ConvertImageType(gray, &out, "complex"); }, "ConvertImageType: 'complex' is not a pixel type"},
      {[&] { Decompose3(two, &out, &out, &out); }, "Decompose3: expects an image of 3 channels, not 2"},
      {[&] { Compose2(gray, deep, &out); }, "Compose2: the images differ: 2 x 2 pixels of type byte and 1 x 1"},
      {[&] { AccessChannel(two, &out, 3); }, "AccessChannel: the channel is 3; 1 to 2 is possible"},
      {[&] { InterleaveChannels(two, &out, "bgr", "match", 255); }, "'bgr' expects an image of 3 channels, not 2"},
      {[&] { InterleaveChannels(three, &out, "rgb", "match", 255); }, "the pixel format 'rgb' is not"},
      {[&] { InterleaveChannels(three, &out, "bgr", 12, 255); }, "row_bytes must be one string"},
      {[&] { InterleaveChannels(three, &out, "bgr", "match", 256); }, "alpha is 256; 0 to 255 is possible"},
      {[&] { InterleaveChannels(converted(three, "real"), &out, "bgr", "match", 255); }, "type \"byte\", not \"real\""},
      {[&] { RegionToBin(region, &out, 255, 0, 0, 5); }, "RegionToBin: the width is 0; 1 to 1048576 is possible"},
      {[&] { RegionToBin(region, &out, 255, 0, 1 << 20, 1 << 20); }, "bytes; at most"},
      {[&] { GetRegionRuns(gray, &a, &b, &c); }, "GetRegionRuns: expects"},
      {[&] { GetContourXld(region, &a, &b); }, "GetContourXld: expects an object of class \"xld_cont\""},
      {[&] { LengthXld(region, &a); }, "LengthXld: expects XLD objects, not an object of class \"region\""},
      {[&] { GenImage1(&out, "byte", 2, 2, nullptr); }, "GenImage1: the pixel pointer is null"},
      {[&] { region_of({0}, {2}, {1}); }, "GenRegionRuns: run 0 ends before it begins"},
      {[&] {
         region_of({0, 0}, {2}, {2});
       },
       "GenRegionRuns: the coordinate tuples differ in length"},
      {[&] { region_of({0}, {0}, {std::int64_t{1} << 31}); }, "GenRegionRuns: column_end holds a coordinate outside"},
      {[&] { GenContourPolygonXld(&out, 1, HTuple()); }, "GenContourPolygonXld: 1 rows and 0 columns do not match"},
      {[&] { GenPolygonXld(&out, "a", 1); }, "GenPolygonXld: row must hold numbers only"},
  };
  for (const auto& [call, message] : table) EXPECT_THAT(failure(call), HasSubstr(message));
}

struct Replacer : CallWatcher {
  void answered(const char* operation, HTuple& answer) override { answer = HTuple(operation); }
  void answered(const char*, void*& pointer) override { pointer = nullptr; }
};

TEST(Watching, ReplacesAnswers) {
  const HImage image = image_of<std::uint8_t>("byte", {1});
  HString type;
  Hlong width, height, pitch, step, bits;
  HTuple area, row, column, channels;
  Replacer replacer;
  WatchCalls(&replacer);
  const void* first = image.GetImagePointer1(&type, &width, &height);
  const void* second = image.GetImagePointer1Rect(&width, &height, &pitch, &step, &bits);
  AreaCenter(region_of({0}, {0}, {0}), &area, &row, &column);
  channels = image.CountChannels();
  WatchCalls(nullptr);
  EXPECT_EQ(first, nullptr);
  EXPECT_EQ(second, nullptr);
  EXPECT_STREQ(area[0].S().Text(), "AreaCenter");
  EXPECT_STREQ(channels[0].S().Text(), "CountChannels");
}

}  // namespace
