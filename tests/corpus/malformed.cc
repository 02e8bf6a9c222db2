// Every damaged file is opened by each parse export, drawn and saved: it ends with a tree or with one readable line.
#include <filesystem>
#include <string>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "sections.h"
#include "support/files.h"
#include "support/host.h"
#include "table.h"

namespace corpus {

namespace {

using namespace test;

// What is wrong with the answer; empty when nothing is.
std::string fault(const Reader& reader, const qv_node* root) {
  const std::string error = reader.error();
  if (root) {
    dump(root);
    for (const qv_node* node : children(root)) extract_everything(reader, node, 0);
    return error.empty() ? "" : "a tree and a text: " + error;
  }
  if (error.empty()) return "no tree and no text";
  return error.find('\n') == error.npos ? "" : "more than one line: " + error;
}

}  // namespace

void check_malformed(const std::filesystem::path& corpus, Report& report) {
  const Reader reader;
  for (const Row& row : read_table(corpus / "malformed/expected.tsv")) {
    const std::string& file = row.at("path");
    std::string found;
    for (const FileKind kind : {FileKind::Object, FileKind::Dict, FileKind::Model3d, FileKind::DlModel})
      found += fault(reader, reader.parse(kind, utf8(corpus / file)));
    if (found.empty())
      report.agree();
    else
      report.disagree(file, "a tree or one line", found);
  }
}

}  // namespace corpus
