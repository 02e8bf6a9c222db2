// HALCON's narrow text is UTF-8, half the work of its 32-bit wide text.
#include <cstring>
#include <string>
#include <string_view>

#include "HalconCpp.h"
#include "platform/text.h"
#include "unicode.h"

namespace quovel {

HalconText::HalconText(const HalconCpp::HString& string) : text_(string.Text()), length_(std::strlen(text_)) {}

std::size_t HalconText::copy_to(char16_t* out) const noexcept { return unicode::to_units({text_, length_}, out); }

HalconCpp::HString to_halcon(const std::u16string& text) {
  return HalconCpp::HString(unicode::to_utf8(std::u16string_view(text)).c_str());
}

}  // namespace quovel
