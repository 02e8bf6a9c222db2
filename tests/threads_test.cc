// Several threads at once: each with a Reader of its own, and all reading one finished tree. What is compared is what
// one thread alone sees; the thread sanitizer sees the rest. QUOVEL_THREAD_SECONDS makes it run longer.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "quovel_adapter_2411/quovel_adapter.h"
#include "support/files.h"
#include "support/host.h"
#include "support/scenarios.h"

namespace {

using namespace test;
using Clock = std::chrono::steady_clock;

constexpr int thread_count = 4;

// Runs body(thread) on each thread; all begin at the same moment. They spin: libstdc++'s std::barrier can sleep on
// where there is no futex, as on Windows.
template <class Body>
void at_once(Body body) {
  std::atomic<int> ready{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < thread_count; ++i)
    threads.emplace_back([&ready, &body, i] {
      for (++ready; ready < thread_count;) std::this_thread::yield();
      body(i);
    });
  for (std::thread& thread : threads) thread.join();
}

Clock::time_point deadline() {
  const char* const wanted = std::getenv("QUOVEL_THREAD_SECONDS");
  return Clock::now() + std::chrono::milliseconds(wanted ? 1000 * std::atoi(wanted) : 500);
}

// The process has not used the library before: ctest runs each test in a process of its own.
TEST(Threads, UseItForTheFirstTimeAtOnce) {
  std::atomic<int> agreed{0};
  at_once([&](int) {
    const Reader reader;
    agreed += narrow(qv_adapter_halcon_version()).starts_with("24.11") && !reader.objects("nothing.png") &&
              !reader.error().empty();
  });
  EXPECT_EQ(agreed, thread_count);
}

TEST(Threads, WorkWithAReaderEach) {
  std::atomic<long> operations{0}, wrong{0};
  const Clock::time_point end = deadline();
  at_once([&](int) {
    Scenarios scenarios;
    const Reader reader;
    std::vector<std::pair<Scenario, std::string>> all;
    for (const auto& some : {scenarios.opening(), scenarios.extracting(), scenarios.writing(), scenarios.asking()})
      for (const Scenario& scenario : some) all.emplace_back(scenario, scenario.run(reader).shown);
    do {
      for (const auto& [scenario, expected] : all) {
        const Outcome outcome = scenario.run(reader);
        if (outcome.failed || outcome.shown != expected) {
          ++wrong;
          ADD_FAILURE() << scenario.name << ": " << outcome.error << "\n"
                        << outcome.shown << "\ninstead of\n"
                        << expected;
        }
        ++operations;
      }
    } while (Clock::now() < end);
  });
  EXPECT_EQ(wrong, 0);
  EXPECT_GT(operations, 0);
  std::printf("%d threads, %ld operations\n", thread_count, operations.load());
}

TEST(Threads, ReadOneFinishedTree) {
  Scenarios scenarios;
  for (const std::string& file : scenarios.trees()) {
    const Reader reader;
    const qv_node* const root = reader.parse(file.ends_with("hobj") ? FileKind::Object : FileKind::Dict, file);
    ASSERT_TRUE(root) << reader.error();
    std::string seen[thread_count];
    at_once([&](int thread) {
      const Reader own;
      seen[thread] = dump(root);
      for (const qv_node* node : children(root)) seen[thread] += own.full(node);
    });
    for (const std::string& text : seen) EXPECT_EQ(text, seen[0]);
    EXPECT_FALSE(seen[0].empty());
  }
}

}  // namespace
