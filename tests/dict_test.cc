// Dictionaries, generic handle queries, matrices and system settings of the class interface.
#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "HalconCreate.h"
#include "support/objects.h"

namespace {

using HalconCpp::HDict;
using HalconCpp::HException;
using HalconCpp::HHandle;
using HalconCpp::Hlong;
using HalconCpp::HObject;
using HalconCpp::HTuple;
using testing::HasSubstr;
using testing::StartsWith;

HTuple new_dict() {
  HTuple dict;
  HalconCpp::CreateDict(&dict);
  return dict;
}

HTuple new_matrix(const HTuple& rows, const HTuple& columns, const HTuple& values) {
  HTuple matrix;
  HalconCpp::CreateMatrix(rows, columns, values, &matrix);
  return matrix;
}

HDict opened(const HTuple& dict) { return HDict(dict[0].H()); }

std::string failure_of(const std::function<void()>& call) {
  try {
    call();
  } catch (const HException& failure) {
    return failure.ErrorMessage().Text();
  }
  return "no failure";
}

// Keys of all three types, no two equal though some look alike.
HTuple key_number(int i) {
  switch (i % 3) {
    case 0:
      return HTuple(i);
    case 1:
      return HTuple(i * 0.5);
    default:
      return HTuple(std::to_string(i).c_str());
  }
}

TEST(Dictionaries, KeepKeysInOrderWhateverTheirNumber) {
  for (const int count : {0, 1, 2, 8, 9, 17, 100, 5000}) {
    SCOPED_TRACE(count);
    const HTuple dict = new_dict();
    for (int i = 0; i < count; ++i) HalconCpp::SetDictTuple(dict, key_number(i), i);
    const HTuple keys = opened(dict).GetDictParam("keys", HTuple());
    for (int i = count - 1; i >= 0; i -= 2) HalconCpp::SetDictTuple(dict, key_number(i), -i);
    HalconCpp::SetDictTuple(dict, "one more", "x");
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
  for (int i = 0; i < 3000; ++i) HalconCpp::SetDictTuple(dict, key_number(i), i);
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
  const HTuple dict = new_dict();
  HalconCpp::SetDictObject(test::ramp(3, 2), dict, "image");
  HalconCpp::SetDictTuple(dict, "both", 1);
  HalconCpp::SetDictObject(test::rectangle(0, 0, 1, 1), dict, "both");
  HalconCpp::SetDictTuple(dict, "inner", new_dict());
  const char* const types[][2] = {{"image", "object"}, {"both", "object"}, {"inner", "tuple"}};
  for (const auto& [key, type] : types) {
    HTuple by_handle;
    HalconCpp::GetHandleParam(dict, "key_data_type", key, &by_handle);
    EXPECT_STREQ(by_handle[0].S().Text(), type);
    EXPECT_STREQ(opened(dict).GetDictParam("key_data_type", key)[0].S().Text(), type);
  }
  HObject object;
  HTuple value;
  HalconCpp::GetHandleObject(&object, dict, "both");
  HalconCpp::GetObjClass(object, &value);
  EXPECT_STREQ(value[0].S().Text(), "region");
  HalconCpp::GetHandleTuple(dict, "inner", &value);
  EXPECT_EQ(opened(value).GetDictParam("keys", HTuple()).Length(), 0);
}

TEST(Dictionaries, RefuseWithReasons) {
  const HTuple dict = new_dict(), matrix = new_matrix(1, 1, 0), pair = test::tuple({1, 2});
  HalconCpp::SetDictTuple(dict, "t", 1);
  HalconCpp::SetDictObject(test::ramp(1, 1), dict, "o");
  const HDict none, wrong(matrix[0].H()), good = opened(dict);
  HTuple out;
  HObject object;
  const struct {
    const char* message;
    std::function<void()> call;
  } rows[] = {
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
      {"a handle of type 'matrix' is no dictionary", [&] { wrong.GetDictParam("keys", HTuple()); }},
      {"WriteDict: the dictionary is an empty handle", [&] { none.WriteDict("x.json", HTuple(), HTuple()); }},
      {"SetDictTuple: a key is one string", [&] { HalconCpp::SetDictTuple(dict, pair, 1); }},
      {"SetDictObject: the object is not set", [&] { HalconCpp::SetDictObject(object, dict, "x"); }},
      {"has no keys", [&] { HalconCpp::GetHandleParam(matrix, "keys", HTuple(), &out); }},
      {"the handle is an empty handle", [&] { HalconCpp::GetHandleParam(HHandle(), "keys", HTuple(), &out); }},
      {"the handle must be one handle", [&] { HalconCpp::GetHandleTuple(1, "x", &out); }},
      {"GetHandleObject: the key 't'", [&] { HalconCpp::GetHandleObject(&object, dict, "t"); }},
  };
  for (const auto& row : rows) EXPECT_THAT(failure_of(row.call), HasSubstr(row.message));
}

TEST(Matrices, HoldRealsRowByRow) {
  HTuple rows, columns, values;
  const HTuple matrix = new_matrix(2, 3, test::tuple({1, 2.5, 3, 4, 5, -6}));
  HalconCpp::GetSizeMatrix(matrix, &rows, &columns);
  HalconCpp::GetFullMatrix(matrix, &values);
  EXPECT_EQ(rows[0].L(), 2);
  EXPECT_EQ(columns[0].L(), 3);
  EXPECT_EQ(values[1].D(), 2.5);
  EXPECT_EQ(values[5].D(), -6);
  for (const int n : {0, 1, 4}) {
    HalconCpp::GetFullMatrix(new_matrix(n, n, 7), &values);
    EXPECT_EQ(values.Length(), n * n);
  }
  EXPECT_THAT(failure_of([] { new_matrix(2, 2, test::tuple({1, 2, 3})); }), HasSubstr("4 elements"));
  EXPECT_THAT(failure_of([] { new_matrix(1, 1, "1"); }), HasSubstr("numbers only"));
  EXPECT_THAT(failure_of([] { new_matrix(-1, 1, 0); }), HasSubstr("rows is -1"));
  EXPECT_THAT(failure_of([] { new_matrix(Hlong{1} << 40, Hlong{1} << 40, 0); }), HasSubstr("out of memory"));
  EXPECT_THAT(failure_of([&] { HalconCpp::GetFullMatrix(new_dict(), &values); }), HasSubstr("no matrix"));
}

TEST(System, AnswersVersionAndClipping) {
  HTuple answer;
  HalconCpp::GetSystem("version", &answer);
  EXPECT_THAT(answer[0].S().Text(), StartsWith("24.11"));
  for (const char* const value : {"false", "true"}) {
    HalconCpp::SetSystem("clip_region", value);
    HalconCpp::GetSystem("clip_region", &answer);
    EXPECT_STREQ(answer[0].S().Text(), value);
  }
  EXPECT_THAT(failure_of([] { HalconCpp::SetSystem("clip_region", "maybe"); }), HasSubstr("'maybe'"));
  EXPECT_THAT(failure_of([] { HalconCpp::SetSystem("width", 1); }), HasSubstr("unknown setting 'width'"));
  EXPECT_THAT(failure_of([&] { HalconCpp::GetSystem("width", &answer); }), HasSubstr("unknown query 'width'"));
}

}  // namespace
