// Dictionaries, generic handle queries, matrices and system settings of the class interface.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "support/objects.h"

#if !defined(_WIN32)
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include "support/files.h"
#include "support/values.h"

namespace {

using namespace HalconCpp;
using namespace test;
using testing::HasSubstr;
using testing::StartsWith;

HDict opened(const HTuple& dict) { return HDict(dict[0].H()); }

// Keys of all three types, no two equal though some look alike.
HTuple key_number(int i) {
  return i % 3 == 0 ? HTuple(i) : i % 3 == 1 ? HTuple(i * 0.5) : HTuple(std::to_string(i).c_str());
}

TEST(Dictionaries, KeepKeysInOrderWhateverTheirNumber) {
  for (const int count : {0, 1, 2, 8, 9, 17, 100, 5000}) {
    SCOPED_TRACE(count);
    const HTuple dict = new_dict();
    for (int i = 0; i < count; ++i) SetDictTuple(dict, key_number(i), i);
    const HTuple keys = opened(dict).GetDictParam("keys", HTuple());
    for (int i = count - 1; i >= 0; i -= 2) SetDictTuple(dict, key_number(i), -i);
    SetDictTuple(dict, "one more", "x");
    ASSERT_EQ(keys.Length(), count);
    ASSERT_EQ(opened(dict).GetDictParam("keys", HTuple()).Length(), count + 1);
    for (int i = 0; i < count; ++i) {
      const HTuple value = opened(dict).GetDictTuple(keys[i]);
      ASSERT_EQ(value[0].L(), (count - 1 - i) % 2 == 0 ? -i : i);
      ASSERT_EQ(opened(dict).GetDictTuple(key_number(count - 1 - i)).Length(), 1);
    }
  }
}

TEST(Dictionaries, CanBeReadByManyThreads) {
  const HTuple dict = new_dict();
  for (int i = 0; i < 3000; ++i) SetDictTuple(dict, key_number(i), i);
  std::vector<Hlong> wrong(4);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&dict, &wrong, t] {
      for (int i = 0; i < 3000; ++i) {
        const int k = t % 2 ? i : (i * 7 + t) % 3000;
        wrong[static_cast<std::size_t>(t)] += opened(dict).GetDictTuple(key_number(k))[0].L() != k;
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(wrong, testing::Each(0));
}

TEST(Dictionaries, TellObjectsFromTuples) {
  const HTuple dict = new_dict({{"image", 0}, {"both", 1}, {"inner", new_dict()}});
  SetDictObject(ramp(3, 1), dict, "image");
  SetDictObject(rectangle(0, 0, 1, 1), dict, "both");
  EXPECT_EQ(shown(dict),
            "{'image':image 3x1 byte | 0 1 2 0 0 2\n,"
            "'both':region (0,1) (0,0) (1,1)\n,'inner':{}}");
  for (const auto& [key, type] : {std::pair{"image", "object"}, {"both", "object"}, {"inner", "tuple"}})
    EXPECT_STREQ(opened(dict).GetDictParam("key_data_type", key)[0].S().Text(), type);
}

TEST(Dictionaries, RejectWithReasons) {
  const HTuple dict = new_dict(), matrix = new_matrix(1, 1, 0), pair = tuple({1, 2});
  SetDictTuple(dict, "t", 1);
  SetDictObject(ramp(1, 1), dict, "o");
  const HDict none, wrong(matrix[0].H()), good = opened(dict);
  HTuple out;
  HObject object;
  const std::tuple<const char*, std::function<void()>> rows[] = {
      {"GetDictTuple: there is no key 'gone'", [&] { good.GetDictTuple("gone"); }},
      {"GetDictTuple: there is no key 5", [&] { good.GetDictTuple(5); }},
      {"GetDictTuple: there is no key 2.5", [&] { good.GetDictTuple(2.5); }},
      {"GetDictTuple: the key must be one", [&] { good.GetDictTuple(pair); }},
      {"GetDictTuple: the key 'o' holds an iconic object", [&] { good.GetDictTuple("o"); }},
      {"GetDictObject: the key 't' holds a tuple", [&] { good.GetDictObject("t"); }},
      {"GetDictParam: there is no key 'gone'", [&] { good.GetDictParam("key_data_type", "gone"); }},
      {"accepted are 'keys' and 'key_data_type'", [&] { good.GetDictParam("key_exists", "t"); }},
      {"'keys' takes an empty tuple", [&] { good.GetDictParam("keys", "t"); }},
      {"GetDictParam: the dictionary is an empty handle", [&] { none.GetDictParam("keys", HTuple()); }},
      {"a handle of type 'matrix' is not a dictionary", [&] { wrong.GetDictParam("keys", HTuple()); }},
      {"WriteDict: the dictionary is an empty handle", [&] { none.WriteDict("x.json", HTuple(), HTuple()); }},
      {"SetDictTuple: a key is one string", [&] { SetDictTuple(dict, pair, 1); }},
      {"SetDictObject: the object is not set", [&] { SetDictObject(object, dict, "x"); }},
      {"has no keys", [&] { GetHandleParam(matrix, "keys", HTuple(), &out); }},
      {"the handle is an empty handle", [&] { GetHandleParam(HHandle(), "keys", HTuple(), &out); }},
      {"the handle must be one handle", [&] { GetHandleTuple(1, "x", &out); }},
      {"GetHandleObject: the key 't'", [&] { GetHandleObject(&object, dict, "t"); }},
  };
  for (const auto& [message, call] : rows) EXPECT_THAT(failure(call), HasSubstr(message));
}

#if !defined(_WIN32)

// A name that stands for a file one moment and for a pipe the next: opening it must never wait for the pipe's other
// end.
TEST(Files, ANameThatBecomesAPipeIsNotWaitedFor) {
  namespace fs = std::filesystem;
  const TempDir folder;
  const std::string pipe = folder / "pipe";
  write(folder / "file", "{}");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_THAT(failure([&] { read_dict(pipe); }), HasSubstr("is not a regular file"));
  fs::create_symlink("file", folder / "name");
  std::atomic<bool> done{false};
  std::thread changer([&] {
    for (int i = 0; !done; ++i) {
      fs::create_symlink(i % 2 ? "file" : "pipe", folder / "next");
      fs::rename(folder / "next", folder / "name");
    }
  });
  std::atomic<bool> waits{true};
  std::thread reader([&] {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(200);
    while (std::chrono::steady_clock::now() < end) failure([&] { read_dict(folder / "name"); });
    waits = false;
  });
  for (int i = 0; waits && i < 100; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(waits) << "opening a pipe waits";
  done = true;
  changer.join();
  for (int i = 0; waits && i < 100; ++i) {  // let go of a reader that waits
    close(open(pipe.c_str(), O_RDWR | O_NONBLOCK));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  reader.join();
}

#endif

TEST(Files, NamesThatAreNotUtf8AreReportedAsSuch) {
  EXPECT_THAT(failure([] { read_dict("none \xEF\xBF\xBD.json"); }),
              HasSubstr("a file whose name is not UTF-8 cannot be opened"));
  EXPECT_THAT(failure([] { read_dict("none.json"); }), testing::EndsWith("no such file"));
}

TEST(Matrices, HoldRealsRowByRow) {
  EXPECT_EQ(shown(new_matrix(2, 3, tuple({1, 2.5, 3, 4, 5, -6}))), "matrix2x3(1.,2.5,3.,4.,5.,-6.)");
  EXPECT_EQ(shown(new_matrix(0, 0, 7)) + shown(new_matrix(1, 1, 7)) + shown(new_matrix(2, 2, 7)),
            "matrix0x0()matrix1x17.matrix2x2(7.,7.,7.,7.)");
  HTuple values;
  EXPECT_THAT(failure([] { new_matrix(2, 2, tuple({1, 2, 3})); }), HasSubstr("4 elements"));
  EXPECT_THAT(failure([] { new_matrix(1, 1, "1"); }), HasSubstr("numbers only"));
  EXPECT_THAT(failure([] { new_matrix(-1, 1, 0); }), HasSubstr("rows is -1"));
  EXPECT_THAT(failure([] { new_matrix(Hlong{1} << 40, Hlong{1} << 40, 0); }), HasSubstr("out of memory"));
  EXPECT_THAT(failure([&] { GetFullMatrix(new_dict(), &values); }), HasSubstr("not a matrix"));
}

TEST(System, AnswersVersionAndClipping) {
  HTuple answer;
  GetSystem("version", &answer);
  EXPECT_THAT(answer[0].S().Text(), StartsWith("24.11"));
  for (const char* const value : {"false", "true"}) {
    SetSystem("clip_region", value);
    GetSystem("clip_region", &answer);
    EXPECT_STREQ(answer[0].S().Text(), value);
  }
  EXPECT_THAT(failure([] { SetSystem("clip_region", "maybe"); }), HasSubstr("'maybe'"));
  EXPECT_THAT(failure([] { SetSystem("width", 1); }), HasSubstr("unknown setting 'width'"));
  EXPECT_THAT(failure([&] { GetSystem("width", &answer); }), HasSubstr("unknown query 'width'"));
}

}  // namespace
