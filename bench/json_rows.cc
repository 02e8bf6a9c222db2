// JSON files to finished trees, against nlohmann::json.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>

#include "HalconCpp.h"
#include "documents.h"
#include "files.h"
#include "rows.h"

namespace bench {

namespace {

constexpr std::size_t small_file = 2'000'000, many = 1'000'000, few = 10'000;

struct Document {
  std::string path, text;
};
using DocumentRef = std::shared_ptr<const Document>;

DocumentRef make_document(std::string text, const char* name = "document.json") {
  auto document = std::make_shared<Document>(Document{path_of(name), std::move(text)});
  write_file(document->path, document->text);
  return document;
}

// Joins the small blocks that the other side gave back, so that neither has to do it in its own time.
void tidy_heap() {
  void* block = std::malloc(1 << 16);
  benchmark::DoNotOptimize(block);
  std::free(block);
}

// What was made is destroyed outside of the time.
double time_of_ours(const Document& document) {
  tidy_heap();
  const Reader reader = new_reader();
  return seconds([&] { open_dict(reader.get(), document.path); });
}

double time_of_nlohmann(const Document& document) {
  tidy_heap();
  nlohmann::json made;
  return seconds([&] { made = nlohmann::json::parse(document.text); });
}

double time_of_layer(const Document& document) {
  tidy_heap();
  HalconCpp::HDict dict;
  return seconds([&] { dict.ReadDict(document.path.c_str(), HalconCpp::HTuple(), HalconCpp::HTuple()); });
}

double time_of_end(const Document& document) {
  Reader reader = new_reader();
  open_dict(reader.get(), document.path);
  return seconds([&] { reader.reset(); });
}

Pair against_nlohmann(const DocumentRef& document) {
  return {[=] { return time_of_ours(*document); }, [=] { return time_of_nlohmann(*document); }};
}

// How much more each of many entries costs than each of few.
Pair growth(const Shape& shape) {
  const DocumentRef large = make_document(shape.make(many)), little = make_document(shape.make(few), "few.json");
  const auto rate = [=](double (*time)(const Document&)) {
    double sum = 0;
    constexpr int times = 20;
    for (int i = 0; i < times; ++i) sum += time(*little);
    return time(*large) / static_cast<double>(many) / (sum / times / static_cast<double>(few));
  };
  return {[=] { return rate(time_of_ours); }, [=] { return rate(time_of_nlohmann); }};
}

}  // namespace

void add_json_rows(const std::string& real_file) {
  if (!real_file.empty())
    add_row({"JSON, the file given", "nlohmann::json::parse"}, [real_file] {
      return against_nlohmann(std::make_shared<Document>(Document{real_file, read_file(real_file)}));
    });
  for (const Shape& shape : shapes)
    add_row({std::string("JSON of 2 MB, ") + shape.name, "nlohmann::json::parse", 1.5, 25},
            [shape] { return against_nlohmann(make_document(shape.make(small_file / shape.bytes_per_scalar))); });
  for (const Shape& shape : shapes)
    add_row({std::string("JSON of 1,000,000 entries, ") + shape.name, "nlohmann::json::parse", 2.5},
            [shape] { return against_nlohmann(make_document(shape.make(many))); });
  for (const Shape& shape : shapes)
    add_row({std::string("whole of it, ") + shape.name, "the built-in layer's part"}, [shape] {
      const DocumentRef document = make_document(shape.make(many));
      return Pair{[=] { return time_of_ours(*document); }, [=] { return time_of_layer(*document); }};
    });
  for (const Shape& shape : shapes)
    add_row({std::string("destroying 1,000,000 nodes, ") + shape.name, "building them", 0.25}, [shape] {
      const DocumentRef document = make_document(shape.make(many));
      return Pair{[=] { return time_of_end(*document); }, [=] { return time_of_ours(*document); }};
    });
  for (const Shape& shape : shapes)
    add_row({std::string("growth per entry, 10,000 to 1,000,000, ") + shape.name, "nlohmann's growth", 1.15, 9,
             Unit::Times},
            [shape] { return growth(shape); });
  add_row({"one JSON text of 20 MB", "nlohmann::json::parse", 1.5},
          [] { return against_nlohmann(make_document("{\"text\": \"" + std::string(20'000'000, 'a') + "\"}")); });
}

}  // namespace bench
