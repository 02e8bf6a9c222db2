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

// One work. Each function measures it once, in the row's unit. Without a peer the figure itself is what the target is
// about. What a side makes (its input, a tree) is destroyed outside of what it measures.
struct Pair {
  std::function<double()> ours;
  std::function<double()> peer;
};

// Without a bound the row only reports. Every row is measured in fresh memory: each figure comes from a process of its
// own, forked after `prepare`. Rows with `warm` are measured once more in used memory: both sides in turn in one
// process that returns none of it to the system. The bound holds for the worse of the two.
struct Row {
  std::string work;
  std::string peer;
  double at_most = std::numeric_limits<double>::infinity();
  int rounds = 9;
  Unit unit = Unit::Seconds;
  bool warm = true;
};

// Adds a row to the table. `prepare` makes what both sides need; it runs in the row's process before the first round.
void add_row(Row row, std::function<Pair()> prepare);
// The same, for a row that takes long or much memory: measured with --large only.
void add_large_row(Row row, std::function<Pair()> prepare);

// The processor time (user and system) of this process and of the children it has waited for, in seconds.
double now();

// The processor seconds that `body` takes, in all threads together.
template <class Body>
double seconds(Body&& body) {
  const double start = now();
  std::forward<Body>(body)();
  return now() - start;
}
// Wall-clock seconds, for what several threads do at once.
template <class Body>
double wall_seconds(Body&& body) {
  const auto start = std::chrono::steady_clock::now();
  std::forward<Body>(body)();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Keeps the compiler from leaving out what `value` is computed for.
template <class T>
void keep(const T& value) {
  asm volatile("" : : "r,m"(value) : "memory");
}

// Rows by subject, in the order of the table.
void add_json_rows(const std::string& real_file);
void add_memory_rows();
void add_number_rows();
void add_image_rows();
void add_geometry_rows();
void add_codec_rows();
void add_object_rows();
void add_host_rows();

}  // namespace bench

#endif
