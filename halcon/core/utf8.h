// UTF-8 and wide characters.
#ifndef HALCONCPP_CORE_UTF8_H
#define HALCONCPP_CORE_UTF8_H

#include <string>
#include <string_view>

namespace HalconCpp::detail {

// How many bytes are UTF-8 before the first that is not.
std::size_t valid_utf8_length(std::string_view text) noexcept;
inline bool is_utf8(std::string_view text) noexcept { return valid_utf8_length(text) == text.size(); }
std::string latin1_to_utf8(std::string_view text);
// The number of wide characters, and the text itself; `text` is UTF-8.
std::size_t wide_length(std::string_view text) noexcept;
void to_wide(std::string_view text, wchar_t* out) noexcept;
// A unit that is no character (a lone surrogate, a value above U+10FFFF) becomes U+FFFD.
std::string to_utf8(std::wstring_view text);
void append_utf8(std::string& text, char32_t character);

}  // namespace HalconCpp::detail

#endif
