// A file as one self-contained page for a browser: the tree, and beside it every object drawn.
#ifndef QUOVEL_HOST_HTML_PAGE_H
#define QUOVEL_HOST_HTML_PAGE_H

#include <string>
#include <string_view>
#include <vector>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "session.h"

namespace host {

// The page in UTF-8. Data beyond its limits is left out or shown smaller, and the page says so. `kind` and `options`
// are those that the file was opened with.
std::string html_page(const Session& session, const qv_node* root, const std::string& title, FileKind kind,
                      const std::vector<ReadingOption>& options);

// What every page begins with, and no other file.
std::string_view html_page_prefix();

}  // namespace host

#endif
