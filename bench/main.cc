// Measures the library against what people would use instead and prints one table. Options of Google Benchmark work
// too:
// --benchmark_filter=REGEX runs the rows whose work it finds.
//
//   qv_bench [--json FILE] [--processor-time]
//
// --json FILE also measures a JSON file of your own. --processor-time is for a machine that others use as well: it
// counts the processor time of the works in one thread instead of wall-clock time.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <vector>

#include "files.h"
#include "rows.h"

namespace bench {

namespace {

struct Result {
  Row row;
  double ours = 0, peer = 0;
};

std::vector<Result>& results() {
  static std::vector<Result> all;
  return all;
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

// One untimed round, then both sides in turn, so that what disturbs the machine disturbs both; who begins changes.
void measure(benchmark::State& state, const Row& row, const std::function<Pair()>& prepare) {
  const Pair pair = prepare();
  pair.ours();
  if (pair.peer) pair.peer();
  std::vector<double> ours, peer;
  for (auto _ : state) {
    const bool we_begin = ours.size() % 2 == 0;
    if (!we_begin && pair.peer) peer.push_back(pair.peer());
    ours.push_back(pair.ours());
    if (we_begin && pair.peer) peer.push_back(pair.peer());
    state.SetIterationTime(ours.back());
  }
  Result result{row, median(ours), peer.empty() ? 0 : median(peer)};
  state.counters["ours"] = result.ours;
  state.counters["peer"] = result.peer;
  results().push_back(std::move(result));
}

std::string figure(double value, Unit unit) {
  char text[40];
  if (unit == Unit::Bytes)
    std::snprintf(text, sizeof text, "%.0f B", value);
  else if (unit == Unit::Times)
    std::snprintf(text, sizeof text, "%.2f", value);
  else if (value < 1e-6)
    std::snprintf(text, sizeof text, "%.2f ns", value * 1e9);
  else if (value < 1)
    std::snprintf(text, sizeof text, "%.2f ms", value * 1e3);
  else
    std::snprintf(text, sizeof text, "%.2f s", value);
  return text;
}

std::vector<std::string> cells(const Result& result) {
  const Row& row = result.row;
  const bool compared = result.peer > 0;
  const double judged = compared ? result.ours / result.peer : result.ours;
  const Unit unit = compared ? Unit::Times : row.unit;
  const bool has_target = std::isfinite(row.at_most);
  return {row.work,
          figure(result.ours, row.unit),
          row.peer,
          compared ? figure(result.peer, row.unit) : "",
          compared ? figure(judged, Unit::Times) : "",
          has_target ? figure(row.at_most, unit) : "",
          !has_target             ? ""
          : judged <= row.at_most ? "yes"
                                  : "no"};
}

void print_line(const std::vector<std::string>& line, const std::vector<std::size_t>& widths) {
  for (std::size_t i = 0; i < line.size(); ++i) std::printf("| %-*s ", static_cast<int>(widths[i]), line[i].c_str());
  std::puts("|");
}

void print_table() {
  std::vector<std::vector<std::string>> lines{{"work", "ours", "against", "theirs", "ratio", "at most", "reached"}};
  for (const Result& result : results()) lines.push_back(cells(result));
  std::vector<std::size_t> widths(lines[0].size());
  for (const auto& line : lines)
    for (std::size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], line[i].size());
  std::vector<std::string> rule;
  for (const std::size_t width : widths) rule.emplace_back(width, '-');
  lines.insert(lines.begin() + 1, rule);
  for (const auto& line : lines) print_line(line, widths);
}

// The table comes at the end; until then a line per row shows that something happens.
class Progress final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>&) override {
    const std::vector<std::string> line = cells(results().back());
    std::fprintf(stderr, "%s: %s, %s: %s %s\n", line[0].c_str(), line[1].c_str(), line[2].c_str(), line[3].c_str(),
                 line[4].c_str());
  }
};

bool by_processor = false;

double seconds_of(clockid_t clock) {
  timespec time;
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// Takes an option and `values` arguments after it out of the arguments; null when it is not there.
char** take_option(const char* name, int values, int& count, char** arguments) {
  static char* taken[2];
  for (int i = 1; i + values < count; ++i) {
    if (std::strcmp(arguments[i], name) != 0) continue;
    std::copy_n(arguments + i, values + 1, taken);
    std::move(arguments + i + values + 1, arguments + count, arguments + i);
    count -= values + 1;
    return taken;
  }
  return nullptr;
}

}  // namespace

double now() { return seconds_of(by_processor ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_MONOTONIC); }

void add_row(Row row, std::function<Pair()> prepare) {
  const std::string name = row.work;
  const int rounds = row.rounds;
  benchmark::RegisterBenchmark(
      name.c_str(), [row = std::move(row), prepare = std::move(prepare)](auto& state) { measure(state, row, prepare); })
      ->Iterations(rounds)
      ->UseManualTime();
}

}  // namespace bench

int main(int count, char** arguments) {
  char** const json = bench::take_option("--json", 1, count, arguments);
  const std::string real_file = json ? json[1] : "";
  bench::by_processor = bench::take_option("--processor-time", 0, count, arguments) != nullptr;
  if (char** const option = bench::take_option("--memory-of", 1, count, arguments)) {
    bench::tell_memory_of_opening(option[1]);
    return 0;
  }
  benchmark::Initialize(&count, arguments);
  if (benchmark::ReportUnrecognizedArguments(count, arguments)) return 2;
  const bench::Folder folder;
  bench::add_json_rows(real_file);
  bench::add_memory_rows();
  bench::add_number_rows();
  bench::add_image_rows();
  bench::add_geometry_rows();
  bench::add_codec_rows();
  bench::add_host_rows();
  bench::Progress progress;
  benchmark::RunSpecifiedBenchmarks(&progress);
  bench::print_table();
}
