// Many objects and nodes: opening, saving, converting and destroying them.
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "documents.h"
#include "files.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "rows.h"

namespace bench {

namespace {

using namespace HalconCpp;

constexpr std::size_t few = 10'000, many = 100'000;

// An object file of that many small regions.
std::string region_file(std::size_t count) {
  HTuple top, left, bottom, right;
  for (std::size_t i = 0; i < count; ++i) {
    const auto row = static_cast<Hlong>(i / 300 * 4), column = static_cast<Hlong>(i % 300 * 4);
    top.Append(row);
    left.Append(column);
    bottom.Append(row + 2);
    right.Append(column + 2);
  }
  HObject regions;
  GenRectangle1(&regions, top, left, bottom, right);
  std::string path = path_of("regions" + std::to_string(count) + ".hobj");
  WriteObject(regions, path.c_str());
  return path;
}

double time_of_opening(const std::string& path) {
  const Reader reader = new_reader();
  return seconds([&] { open_objects(reader.get(), path); });
}

// All nodes of the file as one call.
double time_of_saving(const std::string& path) {
  const Reader reader = new_reader();
  const qv_node* root = open_objects(reader.get(), path);
  std::vector<const qv_node*> nodes;
  for (std::int32_t i = 0; i < qv_node_child_count(root); ++i) nodes.push_back(qv_node_child_at(root, i));
  const std::string saved = path_of("saved.hobj");
  return seconds([&] {
    require(qv_save_objects_as(reader.get(), nodes.data(), static_cast<std::int32_t>(nodes.size()),
                               wide(saved).c_str()) == 1,
            "nodes are saved");
  });
}

std::string catalogue_file(std::size_t entries) {
  std::string path = path_of("catalogue" + std::to_string(entries) + ".json");
  write_file(path, catalogue_document(entries));
  return path;
}

double time_of_converting(const std::string& path) {
  return seconds([&] { convert(path, path_of("converted.hdict")); });
}

// How much more time an item takes among many than among few.
void add_growth_row(const char* work, std::string (*make)(std::size_t), double (*time)(const std::string&)) {
  add_row({work, "linear growth", 1.2, 5, Unit::Times}, [=] {
    const std::string little = make(few), large = make(many);
    return Pair{[=] {
                  double sum = 0;
                  constexpr int times = 10;
                  for (int i = 0; i < times; ++i) sum += time(little);
                  return time(large) / static_cast<double>(many) / (sum / times / static_cast<double>(few));
                },
                nullptr};
  });
}

constexpr std::size_t live_nodes = 2000;
constexpr int repetitions = 200;

// Seconds per node.
double time_of_end() {
  const std::string path = path_of("live.json");
  double sum = 0;
  for (int i = 0; i < repetitions; ++i) {
    Reader reader = new_reader();
    open_dict(reader.get(), path);
    sum += seconds([&] { reader.reset(); });
  }
  return sum / repetitions / static_cast<double>(live_nodes);
}

// Seconds per block of the size of a small node, made in the same order.
double time_of_free() {
  double sum = 0;
  std::vector<void*> blocks(live_nodes);
  for (int i = 0; i < repetitions; ++i) {
    for (void*& block : blocks) block = std::malloc(64);
    sum += seconds([&] {
      for (void* block : blocks) std::free(block);
    });
  }
  return sum / repetitions / static_cast<double>(live_nodes);
}

}  // namespace

void add_object_rows() {
  add_row({"object list of 100,000 regions", "read() of its bytes", std::numeric_limits<double>::infinity(), 5}, [] {
    const std::string path = region_file(many);
    return Pair{[=] { return time_of_opening(path); }, [=] { return seconds([&] { keep(read_file(path)); }); }};
  });
  add_growth_row("saving 100,000 nodes, growth from 10,000", region_file, time_of_saving);
  add_growth_row("converting 100,000 entries, growth from 10,000", catalogue_file, time_of_converting);
  add_row({"2,000 live nodes destroyed, per node", "one free", 1.0, 9}, [] {
    write_file(path_of("live.json"), catalogue_document(live_nodes));
    return Pair{time_of_end, time_of_free};
  });
}

}  // namespace bench
