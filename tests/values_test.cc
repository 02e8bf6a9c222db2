// Strings, tuples and exceptions of the class interface. The program and the library are two modules: an exception that
// one throws is caught in the other.
#include "support/values.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>
#include <tuple>

#include "HalconHook.h"

namespace {

using namespace test;
using HalconCpp::HString;
using testing::HasSubstr;

TEST(Strings, ConvertBetweenNarrowAndWide) {
  const std::tuple<const char*, const char*, std::wstring> rows[] = {
      {"", "", L""},
      {"plain", "plain", L"plain"},
      {"Gr\xC3\xB6\xC3\x9F", "Gr\u00F6\u00DF", L"Gr\u00F6\u00DF"},
      {"Gr\xF6\xDF", "Gr\u00F6\u00DF", L"Gr\u00F6\u00DF"},
      {"\xF0\x9F\x98\x80", "\U0001F600", L"\U0001F600"},
      {"\xED\xA0\x80", "\xC3\xAD\xC2\xA0\xC2\x80", L"\u00ED\u00A0\u0080"},
  };
  for (const auto& [given, text, wide] : rows) {
    EXPECT_STREQ(HString(given).Text(), text);
    EXPECT_EQ(HString(given).TextW(), wide);
    EXPECT_STREQ(HString(wide.c_str()).Text(), text);
  }
  EXPECT_STREQ(HString(static_cast<const char*>(nullptr)).Text(), "");
  const wchar_t unpaired[] = {L'a', static_cast<wchar_t>(0xDC00), 0};
  EXPECT_STREQ(HString(unpaired).Text(), "a\xEF\xBF\xBD");
}

TEST(Tuples, AnswerOnlyForTheKindOfTheElement) {
  const struct {
    const char* kind;
    HTuple value;
    std::string answered;  // by L, D, S, H
  } rows[] = {
      {"integer", Hlong{1} << 40, "LD"}, {"real", 2.5, "D"}, {"string", "text", "S"}, {"handle", HHandle(), "H"}};
  const HTuple mixed = tuple({rows[0].value, rows[1].value, rows[2].value, rows[3].value});
  ASSERT_EQ(mixed.Length(), 4);
  for (Hlong i = 0; i < 4; ++i)
    for (const HTuple& tuple : {rows[i].value, HTuple(rows[i].value).Append(rows[i].value), mixed}) {
      const auto element = tuple[tuple.Length() == 4 ? i : 0];
      const auto expect = [&](char member, const std::string& failure) {
        const bool answers = rows[i].answered.find(member) != std::string::npos;
        EXPECT_EQ(failure.empty(), answers) << rows[i].kind << " " << member;
        EXPECT_THAT(failure, HasSubstr(answers ? "" : std::string("of type ") + rows[i].kind)) << member;
      };
      expect('L', failure([&] { EXPECT_EQ(element.L(), Hlong{1} << 40); }));
      expect('D', failure([&] { EXPECT_EQ(element.D(), i == 0 ? 1099511627776.0 : 2.5); }));
      expect('S', failure([&] { EXPECT_STREQ(element.S().Text(), "text"); }));
      expect('H', failure([&] { element.H(); }));
    }
  for (const Hlong index : {Hlong{-1}, Hlong{4}, Hlong{1} << 62})
    EXPECT_NE(failure([&] { mixed[index].L(); }), "") << index;
  EXPECT_NE(failure([] { HTuple()[0].D(); }), "");
}

TEST(Tuples, CopiesKeepTheirElementsWhenOneGrows) {
  HTuple numbers;
  for (int i = 0; i < 1000; ++i) numbers.Append(i);
  const HTuple copy = numbers;
  numbers.Append(numbers).Append("end");
  EXPECT_EQ(copy.Length(), 1000);
  ASSERT_EQ(numbers.Length(), 2001);
  EXPECT_EQ(numbers[1999].L(), 999);
  EXPECT_STREQ(numbers[2000].S().Text(), "end");
  EXPECT_STREQ(copy.TupleSemType()[0].S().Text(), "integer");
  EXPECT_STREQ(numbers.TupleSemType()[0].S().Text(), "mixed");
  EXPECT_EQ(numbers.TupleIsIntElem()[1999].L(), 1);
  EXPECT_EQ(numbers.TupleIsStringElem()[1999].L(), 0);
}

TEST(Tuples, AreCopiedByThreadsAtOnce) {
  HTuple shared;
  for (const char* text : {"one", "two", "three"}) shared.Append(text);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&shared] {
      for (int i = 0; i < 2000; ++i) {
        const HTuple own = HTuple(shared).Append(i);
        EXPECT_STREQ(own[1].S().Text(), "two");
        EXPECT_EQ(own[2].S().TextW()[0], L't');
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(shared.Length(), 3);
}

TEST(Exceptions, CrossFromTheLibraryAndBack) {
  EXPECT_EQ(failure([] { HalconCpp::ThrowHException("one\nline"); }), "one\nline");
  struct FailFirst : HalconCpp::CallWatcher {
    int calls = 0;
    void called(const char* operation) override {
      if (calls++ == 0) HalconCpp::ThrowHException(operation);
    }
  } fail_first;
  HalconCpp::WatchCalls(&fail_first);
  const std::string message = failure([] { HString text("text"); });
  HalconCpp::WatchCalls(nullptr);
  EXPECT_EQ(message, "HString");
}

}  // namespace
