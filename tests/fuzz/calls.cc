// Calls in any order: each input is a list of steps of five bytes, each a call on one of three Readers that is checked
// against the contract. Nodes come from any live tree; indices and paths may not exist, and pointers may be null.
#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "driver.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "support/files.h"
#include "support/host.h"

namespace {

const std::u16string to_dict = u"dict";
constexpr int32_t far_indices[] = {-1, INT_MAX, INT_MIN, 1000};

// Made once: files to open by any call, also by the wrong one, and names that lead nowhere.
const std::vector<std::u16string>& paths() {
  static const std::vector<std::u16string> all = [] {
    std::vector<std::u16string> made;
    for (const char* file : {"calls.hobj", "calls.hdict", "calls.json", "calls.om3", "calls.hdl", "calls.png"})
      made.push_back(test::wide(fuzz::put(file, test::read(std::string(FUZZ_SEEDS "/calls-files/") + file))));
    made.push_back(test::wide(fuzz::put("calls.seq", "calls.png\ncalls\n")));
    made.push_back(test::wide(fuzz::put("broken.json", "{\"a\": [1, {\"b\": nul")));
    for (const char* name :
         {"out.hobj", "out.json", "out.hdict", "out.png", "out.dxf", "", "none/out.hobj", "none.xyz"})
      made.push_back(test::wide(fuzz::in_folder(name)));
    made.push_back(u"");
    made.push_back(test::wide(fuzz::in_folder("")) + u"\xD800\x0001");
    return made;
  }();
  return all;
}

class Player {
 public:
  ~Player() {
    for (const Slot& slot : slots_) qv_reader_destroy(slot.reader);
  }
  void step(const std::array<uint8_t, 5>& bytes);

 private:
  struct Slot {
    qv_reader* reader = nullptr;
    std::vector<const qv_node*> nodes;  // of its tree
  };
  // What a call is made with.
  struct Arguments {
    Slot& slot;
    const qv_node* node;
    int32_t index;
    const qv_char* path;
    uint8_t extra;
    bool complete() const { return slot.reader && node; }
  };
  Arguments arguments(const std::array<uint8_t, 5>& bytes);
  void make_or_destroy(Slot& slot);
  void parse(const Arguments& with, int call);
  void read(const Arguments& with);
  void extract(const Arguments& with, int call);
  void write(const Arguments& with, int call);
  static void check_failure(const Arguments& with, bool failed);

  std::array<Slot, 4> slots_;  // the last never has a Reader
};

Player::Arguments Player::arguments(const std::array<uint8_t, 5>& bytes) {
  Slot& slot = slots_[bytes[1] & 3];
  const Slot& owner = slots_[bytes[1] >> 2 & 3];
  const std::size_t number = bytes[2];
  const qv_node* node = number < owner.nodes.size() ? owner.nodes[number] : nullptr;
  const int32_t index = bytes[3] < 252 ? bytes[3] : far_indices[bytes[3] - 252];
  const bool has_path = bytes[4] < 240;
  return {slot, node, index, has_path ? test::units(paths()[bytes[4] % paths().size()]) : nullptr, bytes[4]};
}

void Player::make_or_destroy(Slot& slot) {
  slot.nodes.clear();
  const bool make = !slot.reader && &slot != &slots_.back();
  qv_reader_destroy(std::exchange(slot.reader, make ? qv_reader_create() : nullptr));
  fuzz::require((slot.reader != nullptr) == make, "a Reader can be made");
}

void Player::parse(const Arguments& with, int call) {
  Slot& slot = with.slot;
  if (slot.reader && with.path) slot.nodes.clear();
  const qv_parse_option options[] = {{with.extra % 5, with.extra % 4, nullptr, with.index, 0.5},
                                     {QV_CONVERT_JSON_ARRAYS_TO, QV_VALUE_STRING, test::units(to_dict), 0, 0}};
  const qv_node* root = nullptr;
  if (call == 0) root = qv_reader_parse_file(slot.reader, with.path);
  if (call == 1) root = qv_reader_parse_file_with_options(slot.reader, with.path, options, with.index % 3);
  if (call == 2) root = qv_reader_parse_object_file(slot.reader, with.path);
  if (call == 3) root = qv_reader_parse_object_model_3d_file(slot.reader, with.path);
  if (call == 4) root = qv_reader_parse_dl_model_file(slot.reader, with.path);
  fuzz::require(!root || (slot.reader && with.path), "null arguments give no tree");
  if (slot.reader && with.path)
    fuzz::require(!root == !test::narrow(qv_reader_last_error(slot.reader)).empty(), "an error has a text");
  if (!root) return;
  slot.nodes = {root};
  for (std::size_t i = 0; i < slot.nodes.size() && slot.nodes.size() < 256; ++i)
    for (const qv_node* child : test::children(slot.nodes[i])) slot.nodes.push_back(child);
}

// Accessors at any index.
void Player::read(const Arguments& with) {
  const auto [slot, node, index, path, extra] = with;
  const bool has_value = node && index >= 0 && index < qv_node_value_count(node);
  const bool has_child = node && index >= 0 && index < qv_node_child_count(node);
  const bool has_line = node && index >= 0 && index < qv_node_detail_line_count(node);
  fuzz::require(has_child == (qv_node_child_at(node, index) != nullptr), "children are there by their count");
  fuzz::require(has_line || test::narrow(qv_node_detail_line_at(node, index)).empty(), "no line outside the lines");
  fuzz::require(has_value || (test::narrow(qv_node_value_string_at(node, index)).empty() &&
                              qv_node_value_int_at(node, index) == 0 && qv_node_value_real_at(node, index) == 0 &&
                              qv_node_value_type_at(node, index) == 0),
                "no value outside the values");
  fuzz::require(node || (qv_node_object_count(node) == 1 && qv_node_kind(node) == 0), "a null node has defaults");
  fuzz::require(!test::narrow(qv_adapter_halcon_version()).empty(), "there is a version");
  const std::string before = test::narrow(qv_reader_last_error(slot.reader));
  fuzz::require(with.complete() || test::narrow(qv_node_full_value_text(slot.reader, node)).empty(), "no text of null");
  if (with.complete()) test::narrow(qv_node_full_value_text(slot.reader, node));
  fuzz::require(before == test::narrow(qv_reader_last_error(slot.reader)), "a full text leaves the error alone");
}

void Player::check_failure(const Arguments& with, bool failed) {
  if (failed || !with.complete()) return;
  fuzz::require(test::narrow(qv_reader_last_error(with.slot.reader)).empty(), "a success clears the error");
}

void Player::extract(const Arguments& with, int call) {
  const auto [slot, node, index, path, extra] = with;
  uint32_t numbers[4] = {7, 7, 7, 7};
  void* buffers[4];
  const auto fill = reinterpret_cast<void*>(uintptr_t{1});
  for (void*& buffer : buffers) buffer = fill;
  // Now and then an output is missing.
  uint32_t* const count = extra == 255 ? nullptr : &numbers[0];
  const auto bytes = reinterpret_cast<uint8_t**>(buffers);
  const auto reals = reinterpret_cast<double**>(buffers);
  const auto integers = reinterpret_cast<int32_t**>(buffers);
  int32_t done = 0, used = 0;
  if (call == 0)
    used = 1, done = qv_extract_image(slot.reader, node, index, count, &numbers[1], &numbers[2], &numbers[3], bytes);
  if (call == 1) used = 2, done = qv_extract_contour_points(slot.reader, node, index, reals, reals + 1, count);
  if (call == 2) used = 2, done = qv_extract_polygon_points(slot.reader, node, index, reals, reals + 1, count);
  if (call == 3)
    used = 4, done = qv_extract_parallel_lines(slot.reader, node, index, reals, reals + 1, count, reals + 2, reals + 3,
                                               &numbers[1]);
  if (call == 4)
    used = 3, done = qv_extract_region_runs(slot.reader, node, index, integers, integers + 1, integers + 2, count);
  if (call == 5) done = qv_node_image_channel_count(slot.reader, node, index) >= 0;
  fuzz::require(!done || (with.complete() && count) || call == 5, "null arguments give nothing");
  for (int i = 0; i < 4; ++i) {
    if (i >= used) continue;
    fuzz::require((buffers[i] != nullptr) == (done == 1) && buffers[i] != fill, "buffers come with success only");
    qv_free_buffer(static_cast<uint8_t*>(buffers[i]));
  }
  for (const uint32_t number : numbers) fuzz::require(done == 1 || number == 7, "a failure leaves the outputs");
  check_failure(with, done == 0);
}

void Player::write(const Arguments& with, int call) {
  const auto [slot, node, index, path, extra] = with;
  // The prepared files stay as they are.
  const qv_char* const target = path ? test::units(paths()[8 + extra % (paths().size() - 8)]) : nullptr;
  const qv_node* const nodes[] = {node, nullptr, slot.nodes.empty() ? nullptr : slot.nodes.back()};
  int32_t done = 0;
  if (call == 0) done = qv_save_object_as(slot.reader, node, target);
  if (call == 1) done = qv_save_objects_as(slot.reader, nodes, index % 4, target);
  if (call == 2) done = qv_reader_convert_dict_file(slot.reader, path, target, index);
  fuzz::require(!done || (slot.reader && target), "null arguments write nothing");
  if (call < 2) fuzz::require(!done || qv_node_kind(node) == QV_NODE_OBJECT, "only objects are saved");
  check_failure(with, done == 0);
}

void Player::step(const std::array<uint8_t, 5>& bytes) {
  const Arguments with = arguments(bytes);
  const int call = bytes[0] % 20;
  if (call == 0) return make_or_destroy(with.slot);
  if (call <= 5) return parse(with, call - 1);
  if (call <= 11) return extract(with, call - 6);
  if (call <= 14) return write(with, call - 12);
  read(with);
}

}  // namespace

FUZZ_TARGET(input) {
  Player player;
  for (std::size_t at = 0; at + 5 <= input.size() && at < 500; at += 5) {
    std::array<uint8_t, 5> bytes;
    input.copy(reinterpret_cast<char*>(bytes.data()), 5, at);
    player.step(bytes);
  }
}
