// The rows of the table: what is measured, against what, and how much more it may take.
#ifndef QUOVEL_BENCH_ROWS_H
#define QUOVEL_BENCH_ROWS_H

#include <chrono>
#include <functional>
#include <limits>
#include <string>
#include <utility>

namespace bench {

enum class Unit { Seconds, Bytes, Times };

// One work. Each function measures it once, in the row's unit; the two run in turn. Without a peer the figure itself is
// what the target is about.
struct Pair {
  std::function<double()> ours;
  std::function<double()> peer;
};

struct Row {
  std::string work;
  std::string peer;
  double at_most = std::numeric_limits<double>::infinity();  // none: the row only reports
  int rounds = 9;
  Unit unit = Unit::Seconds;
};

// Adds a row to the table. `prepare` makes what both sides need; it runs right before the first round.
void add_row(Row row, std::function<Pair()> prepare);

// The time so far, in seconds: wall-clock time, or with --processor-time what this process has used.
double now();

// The seconds that `body` takes.
template <class Body>
double seconds(Body&& body) {
  const double start = now();
  std::forward<Body>(body)();
  return now() - start;
}
// The same, always wall-clock time, for work in several threads or processes.
template <class Body>
double wall_seconds(Body&& body) {
  const auto start = std::chrono::steady_clock::now();
  std::forward<Body>(body)();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Rows by subject, in the order of the table.
void add_json_rows(const std::string& real_file);
void add_memory_rows();
// The other side of them, in a process of its own: prints the bytes that opening the dictionary file adds to this
// process, when it is done and at most.
void tell_memory_of_opening(const std::string& path);
void add_number_rows();
void add_image_rows();
void add_geometry_rows();
void add_codec_rows();
void add_host_rows();

}  // namespace bench

#endif
