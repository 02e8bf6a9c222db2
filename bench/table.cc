#include "table.h"

#include <sys/utsname.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <string_view>
#include <thread>

#include "files.h"

namespace bench {

namespace {

// The value below which that part of the values lies.
double part_below(std::vector<double> values, double part) {
  const auto at = static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1) + 0.5);
  std::nth_element(values.begin(), values.begin() + at, values.end());
  return values[static_cast<std::size_t>(at)];
}

double median(const std::vector<double>& values) { return part_below(values, 0.5); }

template <class... Values>
std::string print(const char* format, Values... values) {
  char text[100];
  std::snprintf(text, sizeof text, format, values...);
  return text;
}

std::string megabytes(double bytes) { return print(bytes < 10e6 ? "%.1f MB" : "%.0f MB", bytes / 1e6); }

std::string figure(double value, Unit unit) {
  if (unit == Unit::Bytes) return value < 1e5 ? print("%.0f B", value) : megabytes(value);
  if (unit == Unit::Times) return print("%.2f", value);
  if (value < 1e-6) return print("%.2f ns", value * 1e9);
  if (value < 1e-3) return print("%.1f µs", value * 1e6);
  return value < 1 ? print("%.2f ms", value * 1e3) : print("%.2f s", value);
}

double ratio(const Rounds& rounds) {
  return rounds.peer.empty() ? median(rounds.ours) : median(rounds.ours) / median(rounds.peer);
}

// The quartiles of the ratios of the rounds.
std::string spread(const Rounds& rounds) {
  if (rounds.peer.empty() || rounds.ours.size() < 3) return "";
  std::vector<double> ratios;
  for (std::size_t i = 0; i < rounds.ours.size(); ++i) ratios.push_back(rounds.ours[i] / rounds.peer[i]);
  return print("%.2f to %.2f", part_below(ratios, 0.25), part_below(ratios, 0.75));
}

using Cells = std::vector<std::string>;

const Cells heading{"work",       "against", "ours", "theirs",  "ratio",   "spread",
                    "ratio used", "spread",  "peak", "at most", "reached", "rounds"};

Cells cells(const Result& result) {
  const Row& row = result.row;
  const Rounds &fresh = result.fresh, &warm = result.warm;
  const bool compared = !fresh.peer.empty(), twice = !warm.ours.empty(), bounded = std::isfinite(row.at_most);
  const double worse = twice ? std::max(ratio(fresh), ratio(warm)) : ratio(fresh);
  const Unit bound_unit = compared ? Unit::Times : row.unit;
  std::string peaks;
  if (row.unit == Unit::Seconds) {
    peaks = megabytes(result.our_peak);
    if (compared) peaks += " : " + megabytes(result.peer_peak);
  }
  return {row.work,
          row.peer,
          figure(median(fresh.ours), row.unit),
          compared ? figure(median(fresh.peer), row.unit) : "",
          compared ? figure(ratio(fresh), Unit::Times) : "",
          spread(fresh),
          twice ? figure(ratio(warm), bound_unit) : "",
          twice ? spread(warm) : "",
          peaks,
          bounded ? figure(row.at_most, bound_unit) : "",
          !bounded               ? ""
          : worse <= row.at_most ? "yes"
                                 : "no",
          std::to_string(fresh.ours.size())};
}

// "µ" takes two bytes and one column.
std::size_t columns(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string line(const Cells& cells, const std::vector<std::size_t>& widths) {
  std::string text;
  for (std::size_t i = 0; i < cells.size(); ++i)
    text += "| " + cells[i] + std::string(widths[i] - columns(cells[i]) + 1, ' ');
  return text + "|\n";
}

std::string first_line_with(const char* path, const std::string& name) {
  std::ifstream file(path);
  for (std::string text; std::getline(file, text);)
    if (text.starts_with(name)) return text.substr(text.find_first_not_of(" \t:", name.size()));
  return "";
}

}  // namespace

std::string table_of(const std::vector<Result>& results) {
  std::vector<Cells> lines{heading};
  for (const Result& result : results) lines.push_back(cells(result));
  std::vector<std::size_t> widths(heading.size());
  for (const Cells& each : lines)
    for (std::size_t i = 0; i < each.size(); ++i) widths[i] = std::max(widths[i], columns(each[i]));
  Cells rule;
  for (const std::size_t width : widths) rule.emplace_back(width, '-');
  lines.insert(lines.begin() + 1, rule);
  std::string text;
  for (const Cells& each : lines) text += line(each, widths);
  return text;
}

std::string line_of(const Result& result) {
  std::string text;
  for (const std::string& cell : cells(result))
    if (!cell.empty()) text += (text.empty() ? "" : ", ") + cell;
  return text;
}

std::string circumstances(const std::string& commit, bool large_pages) {
  utsname system;
  uname(&system);
  const std::time_t time = std::time(nullptr);
  char date[20];
  std::strftime(date, sizeof date, "%Y-%m-%d", std::gmtime(&time));
  const double memory = std::stod("0" + first_line_with("/proc/meminfo", "MemTotal")) * 1024;
  return "Measured on " + std::string(date) + " at commit " + commit + ", on " +
         std::to_string(std::thread::hardware_concurrency()) + " processors (" +
         first_line_with("/proc/cpuinfo", "model name") + ", " + first_line_with("/proc/cpuinfo", "cache size") +
         " of cache each), " + print("%.0f GiB", memory / (1 << 30)) + " of memory, Linux " + system.release +
         ", GCC " + __VERSION__ + ", with " + (large_pages ? "large pages" : "pages of 4 KB only") +
         " for both sides.\n";
}

void write_document(const std::string& path, const std::string& text) {
  constexpr std::string_view begin = "<!-- begin of what make bench writes -->\n", end = "<!-- end of it -->\n";
  std::string document = read_file(path);
  const std::size_t from = document.find(begin), to = document.find(end);
  require(from != std::string::npos && to != std::string::npos && from < to, "the document has both marks");
  document.replace(from + begin.size(), to - from - begin.size(), text);
  write_file(path, document);
}

}  // namespace bench
