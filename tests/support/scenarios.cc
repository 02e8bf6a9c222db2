#include "support/scenarios.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <utility>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "support/objects.h"
#include "support/values.h"

namespace test {

namespace {

constexpr const char* contained = "made to fail";

// Buffers come with success, all of them, and with nothing else.
template <class T>
int32_t freed(int32_t result, std::initializer_list<T*> buffers, void (*give_back)(T*)) {
  for (T* buffer : buffers) {
    if ((result == 1) != (buffer != nullptr)) std::abort();
    give_back(buffer);
  }
  return result;
}

int32_t extract_image(const Reader& reader, const qv_node* node) {
  uint32_t width, height, stride, format;
  uint8_t* pixels = nullptr;
  const int32_t result = qv_extract_image(reader, node, 0, &width, &height, &stride, &format, &pixels);
  return freed(result, {pixels}, qv_free_buffer);
}

int32_t count_channels(const Reader& reader, const qv_node* node) {
  return qv_node_image_channel_count(reader, node, 0) + 1;
}

template <auto Extract>
int32_t extract_points(const Reader& reader, const qv_node* node) {
  double *rows = nullptr, *cols = nullptr;
  uint32_t count = 0;
  const int32_t result = Extract(reader, node, 0, &rows, &cols, &count);
  return freed(result, {rows, cols}, qv_free_double_buffer);
}

int32_t extract_parallels(const Reader& reader, const qv_node* node) {
  double *rows = nullptr, *cols = nullptr, *rows2 = nullptr, *cols2 = nullptr;
  uint32_t count = 0, count2 = 0;
  const int32_t result = qv_extract_parallel_lines(reader, node, 0, &rows, &cols, &count, &rows2, &cols2, &count2);
  return freed(result, {rows, cols, rows2, cols2}, qv_free_double_buffer);
}

int32_t extract_runs(const Reader& reader, const qv_node* node) {
  int32_t *rows = nullptr, *begins = nullptr, *ends = nullptr;
  uint32_t count = 0;
  const int32_t result = qv_extract_region_runs(reader, node, 0, &rows, &begins, &ends, &count);
  return freed(result, {rows, begins, ends}, qv_free_int_buffer);
}

}  // namespace

Scenarios::Scenarios() {
  save(concat({with_domain(ramp(4, 3, 3), 0, 0, 1, 1), ramp(2, 2), rectangle(0, 0, 2, 2), contour({0, 1}, {0, 1}),
               polygon({0, 1}, {0, 1}), parallels()}),
       folder / "all.hobj");
  save(ramp(3, 2), folder / "one.hobj");
  save(concat({with_domain(ramp(4, 3, 3), 0, 0, 1, 1), ramp(2, 2), ramp(2, 2, 4), ramp(2, 2, 3, "real")}),
       folder / "images.hobj");
  write(folder / "a.pgm", "P5 2 1 255\nab");
  write(folder / "b.ppm", "P6 1 1 255\nabc");
  write(folder / "s/list.seq", "a\nb.ppm\n");
  std::string many;  // enough of them to be read by several threads
  for (int i = 0; i < 12; ++i) {
    const std::string name = "n" + std::to_string(i);
    write(folder / (name + ".pgm"), "P5 1 1 255\na");
    many += name + "\n";
  }
  write(folder / "s/many.seq", many);
  save_dict(sample_dict(), folder / "d.hdict");
  write(folder / "d.json", R"({"a": [1, {"b": null}], "c": "x"})");
  HalconCpp::WriteDlModel(new_dl_model(sample_dict()), (folder / "m.hdl").c_str());
  HalconCpp::WriteObjectModel3d(sample_points(), (folder / "p.om3").c_str());
  write(folder / "t.off", "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n");
  write(folder / "t.ply",
        "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nproperty float y\nproperty float z\n"
        "end_header\n0 1 2\n");
  for (const char* format : {"png", "jpg", "tiff", "jp2", "bmp"}) write_picture(format);
}

// A build may do without the library of a format.
void Scenarios::write_picture(const std::string& format) {
  try {
    HalconCpp::WriteImage(ramp(4, 3, 3), format.c_str(), 0, (folder / ("i." + format)).c_str());
    pictures_.push_back("i." + format);
  } catch (const HalconCpp::HException&) {
    return;
  }
}

Scenario Scenarios::parsing(FileKind kind, const std::string& file, std::vector<std::string> marks, bool silent) {
  return {file,
          [=, path = folder / file](const Reader& reader) {
            const qv_node* root = reader.parse(kind, path);
            return Outcome{!root, reader.error(), root ? dump(root) : ""};
          },
          std::move(marks), silent};
}

// A call on the child at `position` of an object file's tree, which was opened while nothing failed. The call gives 1,
// or a greater number, for success.
Scenario Scenarios::on_node(const char* file, int32_t position,
                            std::function<int32_t(const Reader&, const qv_node*)> call) {
  Reader& opener = *openers_.emplace_back(std::make_unique<Reader>());
  const qv_node* node = qv_node_child_at(opener.objects(folder / file), position);
  Scenario scenario{file + std::string("/") + std::to_string(position),
                    [&opener, node, call = std::move(call)](const Reader&) {
                      const int32_t result = call(opener, node);
                      return Outcome{result < 1, opener.error(), std::to_string(result)};
                    },
                    {}};
  return scenario;
}

std::vector<Scenario> Scenarios::opening() {
  const std::vector<std::string> entries = {contained, "<unreadable key>", "<unsupported handle>"};
  std::vector<Scenario> all{
      // A failure in the domain of an image is only left out of its description.
      parsing(FileKind::Object, "all.hobj", {}, true), parsing(FileKind::Object, "one.hobj"),
      parsing(FileKind::Object, "a.pgm"), parsing(FileKind::Object, "s/list.seq"),
      parsing(FileKind::Object, "s/many.seq"), parsing(FileKind::Dict, "d.hdict", entries, true),
      parsing(FileKind::Dict, "d.json", entries),
      // Entries that fail are left out; a handle that does not tell its type is a "handle".
      parsing(FileKind::DlModel, "m.hdl", {"<handle>", "<unreadable key>", "<unsupported handle>", contained}, true),
      parsing(FileKind::Model3d, "p.om3", {"<handle>", "<unreadable key>"}, true)};
  for (const char* model : {"t.off", "t.ply"})
    all.push_back(parsing(FileKind::Model3d, model, {"<handle>", "<unreadable key>"}, true));
  for (const std::string& picture : pictures_) all.push_back(parsing(FileKind::Object, picture));
  return all;
}

std::vector<Scenario> Scenarios::extracting() {
  std::vector<Scenario> all;
  for (int32_t position = 0; position < 4; ++position)
    for (const auto call : {extract_image, count_channels}) {
      all.push_back(on_node("images.hobj", position, call));
      all.back().may_lack_text = call == extract_image;  // which stage has a text: see the tests of extraction
    }
  all.push_back(on_node("all.hobj", 2, extract_runs));
  all.push_back(on_node("all.hobj", 3, extract_points<qv_extract_contour_points>));
  all.push_back(on_node("all.hobj", 4, extract_points<qv_extract_polygon_points>));
  all.push_back(on_node("all.hobj", 5, extract_parallels));
  return all;
}

std::vector<Scenario> Scenarios::writing() {
  std::vector<Scenario> all;
  std::vector<std::pair<int32_t, std::string>> saved{{0, "o.hobj"}, {1, "o.pgm"}, {3, "o.dxf"}, {4, "o.dxf"}};
  for (const std::string& picture : pictures_) saved.emplace_back(1, "o" + picture);
  for (const auto& [position, name] : saved)
    all.push_back(on_node("all.hobj", position, [file = folder / name](const Reader& reader, const qv_node* node) {
      return reader.save(node, file) ? 1 : 0;
    }));
  all.push_back(on_node("all.hobj", 0, [file = wide(folder / "o.hobj")](const Reader& reader, const qv_node* node) {
    const qv_node* nodes[] = {node, nullptr, node};
    return qv_save_objects_as(reader, nodes, 3, units(file));
  }));
  for (const int32_t lenient : {0, 1})
    all.push_back({"convert",
                   [=, from = wide(folder / "d.json"), to = wide(folder / "o.json")](const Reader& reader) {
                     const int32_t result = qv_reader_convert_dict_file(reader, units(from), units(to), lenient);
                     return Outcome{result != 1, reader.error(), std::to_string(result)};
                   },
                   {}});
  return all;
}

std::vector<std::string> Scenarios::files() const {
  std::vector<std::string> all;
  for (const char* name : {"all.hobj", "a.pgm", "d.hdict", "d.json", "m.hdl", "p.om3", "t.off", "t.ply"})
    all.push_back(folder / name);
  for (const std::string& picture : pictures_) all.push_back(folder / picture);
  return all;
}

// A failure is no text at all: the contract has no other way to tell. HALCON is asked only where a node has more
// elements than it keeps values.
std::vector<Scenario> Scenarios::asking() {
  HTuple many = "text";
  for (int i = 0; i < 1000; ++i) many.Append(i % 2 ? HTuple(i) : HTuple(0.5));
  save_dict(new_dict({{"many", many}}), folder / "many.hdict");
  Reader& opener = *openers_.emplace_back(std::make_unique<Reader>());
  const qv_node* node = child(opener.dict(folder / "many.hdict"), "many");
  return {{"full text",
           [node](const Reader& reader) {
             return Outcome{false, reader.error(), reader.full(node)};
           },
           {},
           true}};
}

bool is_allowed(const Scenario& scenario, const Outcome& good, const Outcome& outcome,
                const std::string& failure_text) {
  if (outcome.failed)
    return outcome.error.find(failure_text) != std::string::npos || (scenario.may_lack_text && outcome.error.empty());
  if (!outcome.error.empty()) return false;
  if (outcome.shown == good.shown || (scenario.silent && outcome.shown.size() < good.shown.size())) return true;
  return std::any_of(scenario.marks.begin(), scenario.marks.end(), [&](const std::string& mark) {
    return outcome.shown.find(mark == contained ? failure_text : mark) != std::string::npos;
  });
}

static void sweep(const Scenario& scenario, const FailSteps& fail, const std::string& failure_text, int& total) {
  SCOPED_TRACE(scenario.name);
  const Reader reader;
  const Outcome good = scenario.run(reader);  // also makes the one-time values
  ASSERT_FALSE(good.failed) << good.error;
  Outcome outcome;
  const auto run = [&] { outcome = scenario.run(reader); };
  const int count = fail(0, 0, run);
  ASSERT_GT(count, 0);
  Scenario all_fail = scenario;  // with all steps failing, neither the message nor a part of the result can be made
  all_fail.may_lack_text = all_fail.silent = true;
  for (int k = 1; k <= count; ++k) {
    SCOPED_TRACE("step " + std::to_string(k) + " of " + std::to_string(count));
    for (const int last : {k, INT_MAX}) {
      fail(k, last, run);
      EXPECT_TRUE(is_allowed(last == k ? scenario : all_fail, good, outcome, failure_text)) << outcome.error << "\n"
                                                                                            << outcome.shown;
    }
    run();
    ASSERT_FALSE(outcome.failed) << outcome.error;
    ASSERT_EQ(outcome.shown, good.shown);
  }
  total += count;
}

void sweep(const std::vector<Scenario>& all, const FailSteps& fail, const std::string& failure_text) {
  int total = 0;
  for (const Scenario& scenario : all) sweep(scenario, fail, failure_text, total);
  std::printf("%d steps failed in turn\n", total);
}

}  // namespace test
