// The results of a run, as a table in Markdown.
#ifndef QUOVEL_BENCH_TABLE_H
#define QUOVEL_BENCH_TABLE_H

#include <string>
#include <vector>

#include "rows.h"

namespace bench {

// The figures of the rounds of one row in one state of memory, side by side.
struct Rounds {
  std::vector<double> ours, peer;
};

struct Result {
  Row row;
  Rounds fresh, warm;                  // without rounds: not measured in that state
  double our_peak = 0, peer_peak = 0;  // bytes that one fresh round took at most
};

// One line per result, with a heading.
std::string table_of(const std::vector<Result>& results);
// The same result in one line, for whoever waits.
std::string line_of(const Result& result);
// Where and when the results were measured.
std::string circumstances(const std::string& commit, bool large_pages);
// Replaces what stands between the two marks in the document.
void write_document(const std::string& path, const std::string& text);

}  // namespace bench

#endif
