// A backslash is a character of names like any other here.
#include <algorithm>
#include <string>

#include "platform/path_text.h"

namespace quovel {

bool is_separator(char16_t c) noexcept { return c == u'/'; }

char16_t separator() noexcept { return u'/'; }

std::u16string from_windows_path(std::u16string path) {
  std::replace(path.begin(), path.end(), u'\\', u'/');
  return path;
}

}  // namespace quovel
