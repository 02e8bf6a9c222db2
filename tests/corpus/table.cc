#include "table.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace corpus {

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
  return parts;
}

std::string text_of(const std::vector<double>& values) {
  std::string text;
  for (const double value : values) {
    char number[32];
    std::snprintf(number, sizeof number, "%.9g", value);
    text += (text.empty() ? "" : ",") + std::string(number);
  }
  return text;
}

std::vector<Row> read_table(const std::filesystem::path& file) {
  std::ifstream stream(file);
  std::string line;
  if (!std::getline(stream, line)) throw std::runtime_error(file.string() + " cannot be read");
  const std::vector<std::string> columns = split(line, '\t');
  std::vector<Row> rows;
  while (std::getline(stream, line)) {
    const std::vector<std::string> cells = split(line, '\t');
    Row& row = rows.emplace_back();
    for (std::size_t i = 0; i < columns.size(); ++i) row[columns[i]] = i < cells.size() ? cells[i] : "";
  }
  return rows;
}

}  // namespace corpus
