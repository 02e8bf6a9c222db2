#ifndef HALCONCPP_HSTRING_H
#define HALCONCPP_HSTRING_H

#include "halconcpp/Base.h"

namespace HalconCpp {

namespace detail {
struct StringData;
struct Access;
HALCONCPP_API void retain(const StringData* data) noexcept;
HALCONCPP_API void release(const StringData* data) noexcept;
}  // namespace detail

// An immutable text. Copies share it.
class HALCONCPP_API HString {
 public:
  HString() noexcept = default;
  // Narrow text is UTF-8; text that is not UTF-8 is taken as Latin-1. A null pointer is the empty text.
  HString(const char* narrow);
  // UTF-16 on Windows, UTF-32 elsewhere; a unit that is not a character becomes U+FFFD. A null pointer is the empty
  // text.
  HString(const wchar_t* wide);
  HString(const HString& other) noexcept;
  HString(HString&& other) noexcept : data_(other.data_) { other.data_ = nullptr; }
  HString& operator=(const HString& other) noexcept;
  HString& operator=(HString&& other) noexcept;
  ~HString();

  // NUL-terminated UTF-8, and the same text as wide characters. Both live as long as the text is referred to.
  const char* Text() const;
  const wchar_t* TextW() const;

 private:
  friend struct detail::Access;
  const detail::StringData* data_ = nullptr;  // null: the empty text
};

}  // namespace HalconCpp

#endif
