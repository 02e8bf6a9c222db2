// What a finished tree takes, and what opening takes at most, as the system counts a process of its own.
#include <cstddef>
#include <string>

#include "documents.h"
#include "files.h"
#include "process.h"
#include "rows.h"

namespace bench {

namespace {

constexpr std::size_t entries = 1'000'000;

// The tree is still there when the process ends, so that `kept` is what it takes.
Measured memory_of_opening(const std::string& path) {
  Reader reader;
  return in_new_process([&] {
    reader = new_reader();
    open_dict(reader.get(), path);
    return 0.0;
  });
}

double kept_by_tree(const std::string& path) { return memory_of_opening(path).kept; }
double peak_of_opening(const std::string& path) { return memory_of_opening(path).peak; }

void add_memory_row(const Shape& shape, const char* what, double (*measure)(const std::string&), double at_most) {
  add_row({std::string(what) + ", " + shape.name, "bytes per entry", at_most, 3, Unit::Bytes}, [=] {
    const std::string path = path_of("document.json");
    write_file(path, shape.make(entries));
    return Pair{[=] { return measure(path) / static_cast<double>(entries); }, nullptr};
  });
}

}  // namespace

void add_memory_rows() {
  for (const Shape& shape : shapes) add_memory_row(shape, "memory of the tree", kept_by_tree, 320);
  for (const Shape& shape : shapes) add_memory_row(shape, "peak while opening", peak_of_opening, 640);
  add_large_row({"peak while opening 1,000,000 records", "the file's size", 5, 3, Unit::Bytes}, [] {
    const std::string path = path_of("records.json");
    const std::string text = record_document(record_fields * 1'000'000);
    write_file(path, text);
    const auto size = static_cast<double>(text.size());
    return Pair{[=] { return peak_of_opening(path); }, [=] { return size; }};
  });
}

}  // namespace bench
