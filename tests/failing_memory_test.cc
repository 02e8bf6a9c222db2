// Every allocation that the two libraries make failed in turn, on every path through the host interface: no crash, no
// leak (under a sanitizer), the failure value or the contained result of the contract, and a Reader that works
// afterwards.
//
// This program's operator new and malloc replace those of the whole process. An allocation counts when the nearest
// caller outside the C and C++ run-time libraries is one of our two libraries; allocations of third-party libraries do
// not fail.
#include <dlfcn.h>
#include <execinfo.h>
#include <gtest/gtest.h>
#include <link.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <vector>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "support/files.h"
#include "support/scenarios.h"

namespace {

using namespace test;

enum class Owner { Ours, RunTime, Other };

struct Module {
  std::uintptr_t begin, end;
  Owner owner;
};

Module modules[64];
int module_count = 0;
thread_local bool watching = false;
int first_failing = 0, last_failing = 0, allocations = 0;

Owner owner_of(const char* path) {
  for (const char* ours : {"libquovel_adapter", "libhalconcpp"})
    if (std::strstr(path, ours)) return Owner::Ours;
  for (const char* run_time : {"libstdc++", "libc.so", "libasan", "libtsan", "libubsan", "failing_memory_test"})
    if (std::strstr(path, run_time)) return Owner::RunTime;
  return Owner::Other;
}

void list_modules() {
  dl_iterate_phdr(
      [](dl_phdr_info* info, std::size_t, void*) {
        const char* const path = info->dlpi_name[0] ? info->dlpi_name : "failing_memory_test";
        for (int i = 0; i < info->dlpi_phnum && module_count < 64; ++i)
          if (const auto& part = info->dlpi_phdr[i]; part.p_type == PT_LOAD && part.p_flags & PF_X)
            modules[module_count++] = {info->dlpi_addr + part.p_vaddr, info->dlpi_addr + part.p_vaddr + part.p_memsz,
                                       owner_of(path)};
        return 0;
      },
      nullptr);
}

Owner owner_of(void* address) {
  const auto at = reinterpret_cast<std::uintptr_t>(address);
  for (int i = 0; i < module_count; ++i)
    if (at >= modules[i].begin && at < modules[i].end) return modules[i].owner;
  return Owner::Other;
}

bool is_ours(void* caller) {
  if (const Owner owner = owner_of(caller); owner != Owner::RunTime) return owner == Owner::Ours;
  void* frames[24];
  const int count = backtrace(frames, 24);
  bool passed = false;  // the caller; what is above it is this program
  for (int i = 0; i < count; ++i) {
    passed |= frames[i] == caller;
    const Owner owner = owner_of(frames[i]);
    if (passed && owner != Owner::RunTime) return owner == Owner::Ours;
  }
  return false;
}

bool fails(void* caller) {
  if (!watching) return false;
  watching = false;  // for what is asked here
  const bool failing = is_ours(caller) && ++allocations >= first_failing && allocations <= last_failing;
  watching = true;
  return failing;
}

void* allocate(std::size_t size, std::size_t alignment) {
  const std::size_t rounded = (size + alignment - 1) / alignment * alignment;
  return alignment > alignof(std::max_align_t) ? std::aligned_alloc(alignment, rounded ? rounded : alignment)
                                               : std::calloc(1, size ? size : 1);
}

void* allocate_or_throw(std::size_t size, std::size_t alignment, void* caller) {
  void* const block = fails(caller) ? nullptr : allocate(size, alignment);
  if (!block) throw std::bad_alloc();
  return block;
}

}  // namespace

// Not inlined: the compiler would then find fault with blocks that come from operator new and go to free.
#define CALLER __builtin_return_address(0)
[[gnu::noinline]] void* operator new(std::size_t size) { return allocate_or_throw(size, 1, CALLER); }
[[gnu::noinline]] void* operator new[](std::size_t size) { return allocate_or_throw(size, 1, CALLER); }
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return fails(CALLER) ? nullptr : allocate(size, 1);
}
[[gnu::noinline]] void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return fails(CALLER) ? nullptr : allocate(size, 1);
}
[[gnu::noinline]] void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocate_or_throw(size, static_cast<std::size_t>(alignment), CALLER);
}
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete[](void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::align_val_t) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t, std::align_val_t) noexcept { std::free(block); }

// The process heap, of which only what the libraries take themselves counts. A sanitizer's own malloc cannot be
// replaced.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
extern "C" void* malloc(std::size_t size) {
  static void* (*const next)(std::size_t) = reinterpret_cast<void* (*)(std::size_t)>(dlsym(RTLD_NEXT, "malloc"));
  return watching && owner_of(CALLER) == Owner::Ours && fails(CALLER) ? nullptr : next(size);
}
#endif

namespace {

constexpr const char* failure_text = "out of memory";

// Runs `body` with the allocations from `first` to `last` failing; how many there were.
template <class Body>
int with_failing(int first, int last, const Body& body) {
  first_failing = first;
  last_failing = last;
  allocations = 0;
  watching = true;
  body();
  watching = false;
  return allocations;
}

class FailingMemory : public ::testing::Test {
 protected:
  FailingMemory() { list_modules(); }
  ~FailingMemory() override { module_count = 0; }

  void sweep(std::vector<Scenario> all) {
    for (Scenario& scenario : all) {
      scenario.may_lack_text = true;
      scenario.marks.insert(scenario.marks.end(), {failure_text, "<unreadable key>", "<error>"});
    }
    test::sweep(all, with_failing<std::function<void()>>, failure_text);
  }

  Scenarios scenarios;
};

TEST_F(FailingMemory, WhileOpening) { sweep(scenarios.opening()); }
TEST_F(FailingMemory, WhileExtracting) { sweep(scenarios.extracting()); }
TEST_F(FailingMemory, WhileWriting) { sweep(scenarios.writing()); }
TEST_F(FailingMemory, WhileAskingForTexts) { sweep(scenarios.asking()); }

TEST_F(FailingMemory, NoReaderIsMade) {
  qv_reader* reader = nullptr;
  const auto create = [&] { reader = qv_reader_create(); };
  const int count = with_failing(0, 0, create);
  qv_reader_destroy(reader);
  int rejected = 0;
  for (int k = 1; k <= count; ++k) {
    with_failing(k, INT_MAX, create);
    rejected += reader == nullptr;
    qv_reader_destroy(reader);
  }
  EXPECT_GT(count, 0);
  EXPECT_EQ(rejected, count);
}

}  // namespace
