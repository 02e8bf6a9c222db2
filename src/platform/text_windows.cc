// Wide text is UTF-16 here, as ours is.
#include <cstring>
#include <cwchar>
#include <string>

#include "platform/text.h"

namespace quovel {

HalconText::HalconText(const HalconCpp::HString& string) : text_(string.TextW()), length_(std::wcslen(text_)) {}

std::size_t HalconText::copy_to(char16_t* out) const noexcept {
  std::memcpy(out, text_, length_ * sizeof(char16_t));
  return length_;
}

HalconCpp::HString to_halcon(const std::u16string& text) {
  return HalconCpp::HString(reinterpret_cast<const wchar_t*>(text.c_str()));
}

}  // namespace quovel
