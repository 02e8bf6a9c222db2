// A file as one self-contained page for a browser: the tree, and beside it every object drawn.
#ifndef QUOVEL_HOST_HTML_PAGE_H
#define QUOVEL_HOST_HTML_PAGE_H

#include <string>
#include <string_view>
#include <vector>

#include "session.h"

namespace host {

// Of a page of several files: each is opened, written and closed before the next.
struct PageFile {
  std::string path;
  FileKind kind = FileKind::Object;
  std::string error;  // why it cannot be opened, if that is known already
};

// The page in UTF-8: of one file, or of several with a row for each. Data beyond its limits is left out or shown
// smaller, and the page says so. `options` are those that dictionaries are opened with. A file that cannot be opened
// throws Failure when it is the only one, and is a row with its error among others.
std::string html_page(const std::vector<PageFile>& files, const std::vector<ReadingOption>& options,
                      const std::string& title);

// What every page begins with, and no other file.
std::string_view html_page_prefix();

}  // namespace host

#endif
