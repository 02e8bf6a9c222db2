// Measures the library against what people would use instead and prints one table.
//
//   qv_bench [--filter REGEX] [--large] [--small-pages] [--json FILE] [--document FILE --commit NAME]
//
// --filter REGEX    the rows whose work it finds
// --large           also the rows that take long or much memory
// --small-pages     pages of 4 KB for both sides; otherwise both get large ones where the system has them
// --json FILE       also a JSON file of your own
// --document FILE   writes the table into the document, with the commit
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "files.h"
#include "process.h"
#include "rows.h"
#include "table.h"

namespace bench {

namespace {

struct Options {
  std::string filter, json, document, commit = "unknown";
  bool large = false, small_pages = false;
};

struct Prepared {
  Row row;
  std::function<Pair()> prepare;
  bool is_large;
};

std::vector<Prepared>& all_rows() {
  static std::vector<Prepared> rows;
  return rows;
}

// Who begins changes, so that what disturbs the machine disturbs both.
template <class Ours, class Peer>
void take_turns(int rounds, bool has_peer, Ours ours, Peer peer) {
  for (int i = 0; i < rounds; ++i) {
    if (i % 2 != 0 && has_peer) peer();
    ours();
    if (i % 2 == 0 && has_peer) peer();
  }
}

// Figures as they cross from the row's process: two peaks, then the rounds of each state, ours before theirs.
std::vector<double> flattened(const Result& result) {
  std::vector<double> figures{result.our_peak, result.peer_peak};
  for (const auto* values : {&result.fresh.ours, &result.fresh.peer, &result.warm.ours, &result.warm.peer}) {
    figures.push_back(static_cast<double>(values->size()));
    figures.insert(figures.end(), values->begin(), values->end());
    figures.resize(figures.size() + static_cast<std::size_t>(result.row.rounds) - values->size());
  }
  return figures;
}

std::size_t figure_count(const Row& row) { return 2 + 4 * (1 + static_cast<std::size_t>(row.rounds)); }

void read_back(Result& result, const std::vector<double>& figures) {
  result.our_peak = figures[0];
  result.peer_peak = figures[1];
  auto at = figures.begin() + 2;
  for (auto* values : {&result.fresh.ours, &result.fresh.peer, &result.warm.ours, &result.warm.peer}) {
    values->assign(at + 1, at + 1 + static_cast<std::ptrdiff_t>(*at));
    at += 1 + result.row.rounds;
  }
}

void measure_fresh(Result& result, const Pair& pair) {
  const auto side = [](const std::function<double()>& work, std::vector<double>& figures, double& peak) {
    const Measured measured = in_new_process(work);
    figures.push_back(measured.value);
    peak = std::max(peak, measured.peak);
  };
  take_turns(
      result.row.rounds, pair.peer != nullptr, [&] { side(pair.ours, result.fresh.ours, result.our_peak); },
      [&] { side(pair.peer, result.fresh.peer, result.peer_peak); });
}

// One untimed round first.
void measure_warm(Result& result, const Pair& pair) {
  keep_used_memory();
  pair.ours();
  if (pair.peer) pair.peer();
  take_turns(
      result.row.rounds, pair.peer != nullptr, [&] { result.warm.ours.push_back(pair.ours()); },
      [&] { result.warm.peer.push_back(pair.peer()); });
}

Result measure(const Prepared& prepared) {
  Result result{prepared.row, {}, {}};
  const auto whole_row = [&] {
    const Pair pair = prepared.prepare();
    measure_fresh(result, pair);
    if (prepared.row.warm && prepared.row.unit != Unit::Bytes) measure_warm(result, pair);
    return flattened(result);
  };
  read_back(result, in_new_process(whole_row, figure_count(prepared.row)));
  return result;
}

std::vector<Result> measure_all(const Options& options) {
  const std::regex wanted(options.filter);
  std::vector<Result> results;
  for (const Prepared& row : all_rows()) {
    if (!std::regex_search(row.row.work, wanted) || (row.is_large && !options.large)) continue;
    results.push_back(measure(row));
    std::fprintf(stderr, "%s\n", line_of(results.back()).c_str());
  }
  return results;
}

void add_all_rows(const std::string& json) {
  add_json_rows(json);
  add_memory_rows();
  add_number_rows();
  add_image_rows();
  add_geometry_rows();
  add_object_rows();
  add_codec_rows();
  add_host_rows();
}

bool read_options(Options& options, int count, char** arguments) {
  const struct {
    const char* name;
    std::string* text;
    bool* flag;
  } known[] = {{"--filter", &options.filter, nullptr},     {"--json", &options.json, nullptr},
               {"--document", &options.document, nullptr}, {"--commit", &options.commit, nullptr},
               {"--large", nullptr, &options.large},       {"--small-pages", nullptr, &options.small_pages}};
  for (int i = 1; i < count; ++i) {
    const auto option = std::find_if(std::begin(known), std::end(known),
                                     [&](const auto& each) { return std::strcmp(each.name, arguments[i]) == 0; });
    if (option == std::end(known) || (option->text && i + 1 == count)) {
      std::fprintf(stderr, "qv_bench: unknown or incomplete option '%s'\n", arguments[i]);
      return false;
    }
    if (option->flag) *option->flag = true;
    if (option->text) *option->text = arguments[++i];
  }
  return true;
}

double seconds_of(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

}  // namespace

double now() {
  timespec own;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &own);
  rusage children;
  getrusage(RUSAGE_CHILDREN, &children);
  return static_cast<double>(own.tv_sec) + static_cast<double>(own.tv_nsec) * 1e-9 + seconds_of(children.ru_utime) +
         seconds_of(children.ru_stime);
}

void add_row(Row row, std::function<Pair()> prepare) {
  all_rows().push_back({std::move(row), std::move(prepare), false});
}

void add_large_row(Row row, std::function<Pair()> prepare) {
  all_rows().push_back({std::move(row), std::move(prepare), true});
}

}  // namespace bench

int main(int count, char** arguments) {
  bench::Options options;
  if (!bench::read_options(options, count, arguments)) return 2;
  bench::choose_pages(!options.small_pages, arguments);
  const bench::Folder folder;
  bench::add_all_rows(options.json);
  const std::string text =
      bench::circumstances(options.commit, !options.small_pages) + "\n" + bench::table_of(bench::measure_all(options));
  std::fputs(text.c_str(), stdout);
  if (!options.document.empty()) bench::write_document(options.document, text);
}
