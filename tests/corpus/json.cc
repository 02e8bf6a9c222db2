// JSON documents: what opens, what is rejected, and that what was written reads back to the same tree.
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

// Writes the document again and compares the trees; empty when they are equal.
std::string read_back(const Reader& reader, const std::string& file, const std::string& copy) {
  const std::string tree = dump(reader.dict(file));
  if (qv_reader_convert_dict_file(reader, units(wide(file)), units(wide(copy)), 0) != 1) return reader.error();
  const qv_node* again = reader.dict(copy);
  if (!again) return "written, then: " + reader.error();
  return dump(again) == tree ? "" : "written, it reads back to another tree";
}

void check(const Row& row, const std::filesystem::path& corpus, const std::string& copy, Report& report) {
  const Reader reader;
  const std::string file = utf8(corpus / row.at("path")), expected = row.at("expect");
  const bool opens = reader.dict(file) != nullptr;
  const std::string error = reader.error();
  const bool is_scalar = row.at("top") != "dict" && row.at("top") != "list";
  if (!opens && error.empty()) return report.disagree(row.at("path"), "a text", "no text");
  if (expected == "accept" && is_scalar)
    return opens ? report.disagree(row.at("path"), "rejected: a bare value", "opens") : report.by_design("bare value");
  if (expected == "accept" && !opens) return report.disagree(row.at("path"), "opens", error);
  if (expected == "reject" && opens) return report.disagree(row.at("path"), "rejected", "opens");
  const std::string fault = opens ? read_back(reader, file, copy) : "";
  if (!fault.empty()) return report.disagree(row.at("path"), "the same tree", fault);
  report.agree();
}

}  // namespace

void check_json(const std::filesystem::path& corpus, Report& report) {
  const TempDir folder;
  for (const char* table : {"json/expected.tsv", "bench/expected.tsv"})
    for (const Row& row : read_table(corpus / table)) check(row, corpus, folder / "copy.json", report);
}

}  // namespace corpus
