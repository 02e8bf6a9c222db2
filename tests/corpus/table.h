// A table of tab-separated values whose first line names the columns.
#ifndef QUOVEL_TESTS_CORPUS_TABLE_H
#define QUOVEL_TESTS_CORPUS_TABLE_H

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace corpus {

// By column name; a cell that the line does not reach is empty.
using Row = std::map<std::string, std::string>;

// Throws std::runtime_error when the file cannot be read.
std::vector<Row> read_table(const std::filesystem::path& file);

std::vector<std::string> split(const std::string& text, char separator);

}  // namespace corpus

#endif
