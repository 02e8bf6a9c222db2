// Strings, tuples and exceptions of the class interface. The program and the library are two modules: what is thrown in
// one is caught in the other.
#include <gmock/gmock.h>

#include <string>
#include <thread>
#include <vector>

#include "HalconCpp.h"
#include "HalconHook.h"

namespace {

using HalconCpp::HException;
using HalconCpp::HHandle;
using HalconCpp::Hlong;
using HalconCpp::HString;
using HalconCpp::HTuple;
using testing::HasSubstr;

template <class Call>
std::string failure_of(Call&& call) {
  try {
    call();
  } catch (const HException& failure) {
    return failure.ErrorMessage().Text();
  }
  return "no failure";
}

TEST(Strings, ConvertBetweenNarrowAndWide) {
  struct Row {
    const char* given;
    const char* text;
    std::u16string units;
  };
  const Row rows[] = {
      {"", "", u""},
      {"plain", "plain", u"plain"},
      {"Gr\xC3\xB6\xC3\x9F"
       "e",
       "Gr\xC3\xB6\xC3\x9F"
       "e",
       u"Gr\u00F6\u00DFe"},
      {"Gr\xF6\xDF"
       "e",
       "Gr\xC3\xB6\xC3\x9F"
       "e",
       u"Gr\u00F6\u00DFe"},
      {"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80", u"\U0001F600"},
      {"\xED\xA0\x80", "\xC3\xAD\xC2\xA0\xC2\x80", u"\u00ED\u00A0\u0080"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    const HString string(row.given);
    EXPECT_STREQ(string.Text(), row.text);
    std::wstring wide;
    for (std::size_t i = 0; i < row.units.size(); ++i) {
      const bool pair = sizeof(wchar_t) == 4 && row.units[i] >= 0xD800 && row.units[i] < 0xDC00;
      if (pair) {
        wide += static_cast<wchar_t>(0x10000 + ((row.units[i] - 0xD800) << 10) + (row.units[i + 1] - 0xDC00));
        ++i;
      } else {
        wide += static_cast<wchar_t>(row.units[i]);
      }
    }
    EXPECT_EQ(string.TextW(), wide);
    EXPECT_STREQ(HString(wide.c_str()).Text(), row.text);
  }
  EXPECT_STREQ(HString(static_cast<const char*>(nullptr)).Text(), "");
  const wchar_t unpaired[] = {L'a', static_cast<wchar_t>(0xDC00), 0};
  EXPECT_STREQ(HString(unpaired).Text(), "a\xEF\xBF\xBD");
}

TEST(Tuples, AnswerOnlyForTheKindOfTheElement) {
  struct Row {
    const char* kind;
    HTuple value;
    const char* answered;  // by L, D, S, H
  };
  const Row rows[] = {
      {"integer", Hlong{1} << 40, "LD"}, {"real", 2.5, "D"}, {"string", "text", "S"}, {"handle", HHandle(), "H"}};
  HTuple mixed;
  for (const Row& row : rows) mixed.Append(row.value);
  ASSERT_EQ(mixed.Length(), 4);
  for (Hlong i = 0; i < 4; ++i) {
    SCOPED_TRACE(rows[i].kind);
    for (const HTuple& tuple : {rows[i].value, HTuple(rows[i].value).Append(rows[i].value), mixed}) {
      const auto element = tuple[tuple.Length() == 4 ? i : 0];
      const std::string answered(rows[i].answered);
      const auto expect = [&](char member, const std::string& failure) {
        if (answered.find(member) != std::string::npos)
          EXPECT_EQ(failure, "no failure") << member;
        else
          EXPECT_THAT(failure, HasSubstr(std::string("of type ") + rows[i].kind)) << member;
      };
      expect('L', failure_of([&] { EXPECT_EQ(element.L(), Hlong{1} << 40); }));
      expect('D', failure_of([&] { EXPECT_EQ(element.D(), i == 0 ? 1099511627776.0 : 2.5); }));
      expect('S', failure_of([&] { EXPECT_STREQ(element.S().Text(), "text"); }));
      expect('H', failure_of([&] { element.H(); }));
    }
  }
  for (const Hlong index : {Hlong{-1}, Hlong{4}, Hlong{1} << 62})
    EXPECT_NE(failure_of([&] { mixed[index].L(); }), "no failure") << index;
  EXPECT_NE(failure_of([] { HTuple()[0].D(); }), "no failure");
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
  EXPECT_EQ(failure_of([] { HalconCpp::ThrowHException("one\nline"); }), "one\nline");
  struct FailFirst : HalconCpp::CallWatcher {
    int calls = 0;
    void called(const char* operation) override {
      if (calls++ == 0) HalconCpp::ThrowHException(operation);
    }
  } fail_first;
  HalconCpp::WatchCalls(&fail_first);
  const std::string failure = failure_of([] { HString text("text"); });
  HalconCpp::WatchCalls(nullptr);
  EXPECT_EQ(failure, "HString");
}

}  // namespace
