// Tuples of ten million numbers: from the container, and as one text.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "files.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "rows.h"

namespace bench {

namespace {

using namespace HalconCpp;

constexpr std::size_t count = 10'000'000;

std::vector<double> some_reals() {
  std::mt19937_64 random(4);
  std::vector<double> values(count);
  for (double& value : values) value = static_cast<double>(random() >> 11) * 0x1p-53 * 4000;
  return values;
}

std::vector<Hlong> some_integers() {
  std::mt19937_64 random(5);
  std::vector<Hlong> values(count);
  for (Hlong& value : values) value = static_cast<Hlong>(random() % 1'000'000);
  return values;
}

// A dictionary file with all of the numbers under one key.
template <class T>
std::string dict_file(const std::vector<T>& values) {
  HTuple tuple, dict;
  for (std::size_t i = 0; i < values.size(); ++i) tuple.Append(values[i]);
  CreateDict(&dict);
  SetDictTuple(dict, "numbers", tuple);
  std::string path = path_of("numbers.hdict");
  HDict(dict[0].H()).WriteDict(path.c_str(), HTuple(), HTuple());
  return path;
}

double time_of_read(const std::string& path) {
  std::unique_ptr<char[]> block;
  return seconds([&] {
    const int file = open(path.c_str(), O_RDONLY);
    const auto size = static_cast<std::size_t>(lseek(file, 0, SEEK_END));
    lseek(file, 0, SEEK_SET);
    block = std::make_unique_for_overwrite<char[]>(size);
    for (std::size_t at = 0; at < size;) {
      const ssize_t got = read(file, block.get() + at, size - at);
      require(got > 0, "a file is read");
      at += static_cast<std::size_t>(got);
    }
    close(file);
  });
}

char* to_text(char* at, char* end, double value) {
  return std::to_chars(at, end, value, std::chars_format::general, 6).ptr;
}
char* to_text(char* at, char* end, Hlong value) { return std::to_chars(at, end, value).ptr; }

template <class T>
Pair opening(const std::vector<T>& values) {
  const std::string path = dict_file(values);
  return {[=] {
            const Reader reader = new_reader();
            return seconds([&] { open_dict(reader.get(), path); });
          },
          [=] { return time_of_read(path); }};
}

// The buffer of the loop is there already; the library's text is new each time.
template <class T>
Pair text_of_all(std::vector<T> numbers) {
  const auto values = std::make_shared<const std::vector<T>>(std::move(numbers));
  const auto buffer = std::make_shared<std::vector<char>>(count * 24);
  const std::string path = dict_file(*values);
  return {[=] {
            const Reader reader = new_reader();
            const qv_node* node = qv_node_child_at(open_dict(reader.get(), path), 0);
            return seconds([&] { require(*qv_node_full_value_text(reader.get(), node) == '[', "a text is made"); });
          },
          [=] {
            return seconds([&] {
              char* at = buffer->data();
              char* const end = at + buffer->size();
              for (const T value : *values) {
                at = to_text(at, end, value);
                *at++ = ',';
                *at++ = ' ';
              }
            });
          }};
}

}  // namespace

void add_number_rows() {
  add_row({"container with 10,000,000 reals", "read() of its bytes", 2.0}, [] { return opening(some_reals()); });
  add_row({"container with 10,000,000 integers", "read() of its bytes", 2.0}, [] { return opening(some_integers()); });
  add_row({"full text of 10,000,000 reals", "a loop of std::to_chars", 1.5, 5},
          [] { return text_of_all(some_reals()); });
  add_row({"full text of 10,000,000 integers", "a loop of std::to_chars", 1.5, 5},
          [] { return text_of_all(some_integers()); });
}

}  // namespace bench
