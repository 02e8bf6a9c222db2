// JSON files to finished trees, against nlohmann::json.

#include <cstddef>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "HalconCpp.h"
#include "documents.h"
#include "files.h"
#include "rows.h"
#include "simdjson_walk.h"

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

// What was made is destroyed outside of the time.
double time_of_ours(const Document& document) {
  const Reader reader = new_reader();
  return seconds([&] { open_dict(reader.get(), document.path); });
}

double time_of_nlohmann(const Document& document) {
  nlohmann::json made;
  return seconds([&] { made = nlohmann::json::parse(document.text); });
}

double time_of_simdjson(const Document& document) {
  const PaddedText text(document.text);
  return seconds([&] { read_every_value(text); });
}

double time_of_layer(const Document& document) {
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

Pair against_simdjson(const DocumentRef& document) {
  return {[=] { return time_of_ours(*document); }, [=] { return time_of_simdjson(*document); }};
}

// The dictionary file that the library makes of the document, against the document.
Pair container_against_json(const DocumentRef& document) {
  const DocumentRef container = std::make_shared<Document>(Document{path_of("document.hdict"), ""});
  convert(document->path, container->path);
  return {[=] { return time_of_ours(*container); }, [=] { return time_of_ours(*document); }};
}

constexpr std::size_t all_fields = record_fields * 1'000'000;
constexpr double no_bound = std::numeric_limits<double>::infinity();

}  // namespace

void add_json_rows(const std::string& real_file) {
  if (!real_file.empty())
    add_row({"JSON, the file given", "nlohmann::json::parse"}, [real_file] {
      return against_nlohmann(std::make_shared<Document>(Document{real_file, read_file(real_file)}));
    });
  for (const Shape& shape : shapes)
    add_row({std::string("JSON of 2 MB, ") + shape.name, "nlohmann::json::parse", 0.7, 15},
            [shape] { return against_nlohmann(make_document(shape.make(small_file / shape.bytes_per_scalar))); });
  add_row({"JSON of 2 MB, nested arrays", "nlohmann::json::parse", 0.9, 15},
          [] { return against_nlohmann(make_document(nested_document(small_file / 7))); });
  add_large_row(
      {"JSON of 1,000,000 records, 10,000,000 entries", "nlohmann::json::parse", 0.7, 3, Unit::Seconds, false},
      [] { return against_nlohmann(make_document(record_document(all_fields))); });
  for (const Shape& shape : shapes)
    add_row({std::string("JSON of 2 MB, ") + shape.name, "simdjson, every value read", no_bound, 15},
            [shape] { return against_simdjson(make_document(shape.make(small_file / shape.bytes_per_scalar))); });
  add_row({"JSON of 2 MB, nested arrays", "simdjson, every value read", no_bound, 15},
          [] { return against_simdjson(make_document(nested_document(small_file / 7))); });
  add_large_row({"JSON of 1,000,000 records, 10,000,000 entries", "simdjson, every value read", no_bound, 3,
                 Unit::Seconds, false},
                [] { return against_simdjson(make_document(record_document(all_fields))); });
  for (const Shape& shape : shapes)
    add_row({std::string("container of 2 MB of JSON, ") + shape.name, "opening that JSON", 0.5, 15},
            [shape] { return container_against_json(make_document(shape.make(small_file / shape.bytes_per_scalar))); });
  add_large_row({"container of 1,000,000 records", "opening their JSON", 0.5, 3, Unit::Seconds, false},
                [] { return container_against_json(make_document(record_document(all_fields))); });
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
          // NOLINTNEXTLINE(bugprone-string-constructor): it is to be long
          [] { return against_nlohmann(make_document("{\"text\": \"" + std::string(20'000'000, 'a') + "\"}")); });
}

}  // namespace bench
