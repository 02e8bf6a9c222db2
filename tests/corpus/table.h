// A table of tab-separated values whose first line names the columns, and what the sections do with its rows and cells.
#ifndef QUOVEL_TESTS_CORPUS_TABLE_H
#define QUOVEL_TESTS_CORPUS_TABLE_H

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "sections.h"
#include "support/values.h"

namespace corpus {

// By column name; a cell that the line does not reach is empty.
using Row = std::map<std::string, std::string>;

// Throws std::runtime_error when the file cannot be read.
std::vector<Row> read_table(const std::filesystem::path& file);

std::vector<std::string> split(const std::string& text, char separator);
// "1,0.5"
std::string text_of(const std::vector<double>& values);

// Calls check(row, file) for every row of a table. A model that the class interface rejects disagrees.
template <class Check>
void check_rows(const std::filesystem::path& corpus, const char* table, Report& report, const Check& check) {
  for (const Row& row : read_table(corpus / table)) {
    const std::string error = test::failure([&] { check(row, (corpus / row.at("path")).string()); });
    if (!error.empty()) report.disagree(row.at("path"), "a model", error);
  }
}

}  // namespace corpus

#endif
