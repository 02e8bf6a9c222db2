// Looks for a file whose opening costs more memory or time than docs/limits.md promises. Built once per kind of file
// (COST_TARGET), without a sanitizer, and with the limits of the shipped library. What nears a limit counts as new
// coverage, so that the search climbs towards it.
//
// This program's malloc takes the place of that of the whole process: what codec libraries take is counted as well, at
// the moment they ask for it, touched or not.
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string>
#include <string_view>

#include "container/format.h"
#include "driver.h"
#include "repair.h"
#include "support/cost_limits.h"

extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
void __libc_free(void*);
size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t max_size);
size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size, unsigned seed);
}

namespace {

std::atomic<std::int64_t> live{0}, peak{0}, most{INT64_MAX};

void* counted(void* block) {
  if (!block) return nullptr;
  const auto size = static_cast<std::int64_t>(malloc_usable_size(block));
  const std::int64_t now = live.fetch_add(size, std::memory_order_relaxed) + size;
  std::int64_t before = peak.load(std::memory_order_relaxed);
  while (before < now && !peak.compare_exchange_weak(before, now, std::memory_order_relaxed)) continue;
  // Stop before the machine runs out of memory; the stack tells who asked.
  if (now > most) {
    most = INT64_MAX;
    fuzz::require(false, "memory within twice the limit");
  }
  return block;
}

void uncounted(void* block) {
  if (block) live.fetch_sub(static_cast<std::int64_t>(malloc_usable_size(block)), std::memory_order_relaxed);
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {
void* malloc(size_t size) { return counted(__libc_malloc(size)); }
void* calloc(size_t count, size_t size) { return counted(__libc_calloc(count, size)); }
// To lie on a large page is a matter of speed, and the rest of the page before it would be counted.
void* memalign(size_t alignment, size_t size) {
  return counted(__libc_memalign(std::min<size_t>(alignment, 4096), size));
}
void* aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }
int posix_memalign(void** block, size_t alignment, size_t size) {
  *block = memalign(alignment, size);
  return *block ? 0 : 12;
}
void* realloc(void* block, size_t size) {
  const std::int64_t old = block ? static_cast<std::int64_t>(malloc_usable_size(block)) : 0;
  void* const moved = __libc_realloc(block, size);
  if (moved || size == 0) live.fetch_sub(old, std::memory_order_relaxed);
  return counted(moved);
}
void free(void* block) {
  uncounted(block);
  __libc_free(block);
}
}
#pragma GCC visibility pop

namespace {

using test::FileKind;
namespace cost = test::cost;

// What a file is opened as, and what that may cost.
struct Opening {
  FileKind kind;
  const char* name;
  cost::Limit limit;
};

Opening container_opening(std::string_view input) {
  namespace container = HalconCpp::detail::container;
  constexpr std::size_t root_at = container::magic.size() + 1;
  const auto root =
      input.size() > root_at ? static_cast<container::HandleKind>(input[root_at]) : container::HandleKind{};
  if (root == container::HandleKind::None) return {FileKind::Object, "input.hobj", cost::container};
  if (root == container::HandleKind::Model3d) return {FileKind::Model3d, "input.om3", cost::container};
  if (root == container::HandleKind::DlModel) return {FileKind::DlModel, "input.hdl", cost::container};
  return {FileKind::Dict, "input.hdict", cost::container};
}

// A mesh tells by its first bytes what it is; a model without such bytes is read as OBJ.
Opening mesh_opening(std::string_view input) {
  const auto begins = [&](std::string_view with) { return input.starts_with(with); };
  const bool is_off = begins("OFF") || begins("COFF") || begins("NOFF");
  const bool is_stl = begins("solid") || begins(std::string_view("\0", 1));
  return {FileKind::Model3d,
          begins("ply") ? "input.ply"
          : is_off      ? "input.off"
          : is_stl      ? "input.stl"
                        : "input.obj",
          cost::mesh};
}

constexpr std::string_view target = COST_TARGET;

Opening opening(std::string_view input) {
  if (target == "json") return {FileKind::Dict, "input.json", cost::json};
  if (target == "container") return container_opening(input);
  if (target == "pnm") return {FileKind::Object, "input.pnm", cost::pnm};
  if (target == "sequence") return {FileKind::Object, "list/input.seq", cost::image};
  if (target == "models") return mesh_opening(input);
  if (target == "onnx") return {FileKind::DlModel, "input.onnx", cost::onnx};
  return {FileKind::Object, "input.img", cost::image};
}

double processor_seconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

struct Worst {
  double ratio = 0, cost = 0, size = 0;
  void take(double new_ratio, double new_cost, double new_size) {
    if (new_ratio > ratio) *this = {new_ratio, new_cost, new_size};
  }
};
Worst worst_memory, worst_time;

void report() {
  std::fprintf(stderr, "worst %s memory %.3f of the limit (%.0f bytes for %.0f), time %.3f (%.3f s for %.0f)\n",
               COST_TARGET, worst_memory.ratio, worst_memory.cost, worst_memory.size, worst_time.ratio, worst_time.cost,
               worst_time.size);
}

// One counter per step of a cost: libFuzzer keeps an input that sets a new one.
constexpr int steps = 96;
[[gnu::section("__libfuzzer_extra_counters"), gnu::used]] std::uint8_t counters[3 * steps];

void climb(int which, double value, double per_octave) {
  const double step = value > 0 ? steps - 1 + per_octave * std::log2(value) : 0;
  if (step >= 0) counters[which * steps + std::min(static_cast<int>(step), steps - 1)] = 1;
}

void check(const Opening& open, const std::string& path, double size) {
  const test::Reader reader;
  const std::int64_t before = live;
  const double start = processor_seconds();
  peak = before;
  most = before + 2 * static_cast<std::int64_t>(open.limit.bytes(size));
  const qv_node* root = reader.parse(open.kind, path);
  most = INT64_MAX;
  const double seconds = processor_seconds() - start, bytes = static_cast<double>(peak - before);
  fuzz::require((root != nullptr) == reader.error().empty(), "a parse gives a tree or tells why not");
  const double memory_ratio = bytes / open.limit.bytes(size), time_ratio = seconds / cost::seconds(size);
  worst_memory.take(memory_ratio, bytes, size);
  worst_time.take(time_ratio, seconds, size);
  climb(0, memory_ratio, 8);
  climb(1, bytes / (open.limit.per_byte * (size + 64)), 8);  // the slope, which only large files can make a breach
  if (seconds > 0.01) climb(2, time_ratio, 2);
  if (memory_ratio > 1 || time_ratio > 1) report();
  fuzz::require(memory_ratio <= 1, "memory within the limit");
  fuzz::require(time_ratio <= 1, "processor time within the limit");
}

// Many copies of one part: what costs a little often costs most.
std::size_t repeat_part(std::uint8_t* data, std::size_t size, std::size_t max_size, unsigned seed) {
  if (size == 0 || size >= max_size) return size;
  const std::size_t begin = seed / 8 % size, length = std::min<std::size_t>(1 + seed / 64 % 64, size - begin);
  const std::size_t copies = std::min((max_size - size) / length, std::size_t{1} << seed % 17);
  std::memmove(data + begin + copies * length, data + begin, size - begin);
  for (std::size_t i = 1; i < copies; ++i) std::memcpy(data + begin + i * length, data + begin, length);
  return size + copies * length;
}

std::size_t mutate(std::uint8_t* data, std::size_t size, std::size_t max_size) {
  const auto seed = static_cast<unsigned>(std::rand());
  return seed % 4 == 0 ? repeat_part(data, size, max_size, seed / 4) : LLVMFuzzerMutate(data, size, max_size);
}

}  // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size, unsigned seed) {
  std::srand(seed);
  if (target == "container") return fuzz::mutate_container(data, size, max_size, mutate);
  size = mutate(data, size, max_size);
  if (target == "codecs") fuzz::repair_png(data, size);
  return size;
}

FUZZ_TARGET(input) {
  [[maybe_unused]] static const int at_exit = std::atexit(report);
  const Opening open = opening(input);
  if (target != "sequence") return check(open, fuzz::put(open.name, input), static_cast<double>(input.size()));
  // A list: the text up to the first NUL; what follows is one of the files that it may name.
  std::filesystem::create_directories(fuzz::in_folder("list"));
  const std::size_t end = std::min(input.find('\0'), input.size());
  fuzz::put("c.img", input.substr(std::min(end + 1, input.size())));
  check(open, fuzz::put(open.name, input.substr(0, end)), static_cast<double>(input.size()));
}
