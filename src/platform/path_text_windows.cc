#include <string>

#include "platform/path_text.h"

namespace quovel {

bool is_separator(char16_t c) noexcept { return c == u'/' || c == u'\\'; }

char16_t separator() noexcept { return u'\\'; }

std::u16string from_windows_path(std::u16string path) { return path; }

}  // namespace quovel
