// One ceiling for the memory that a call may take for what it reads, whatever a file declares.
//
// A call opens an account (MemoryAccount); large blocks (core/blocks.h) charge themselves to the account of their
// thread and are credited when they are freed. Code that makes a library allocate charges the declared size beforehand.
// A charge beyond the ceiling is a Failure that states the ceiling.
#ifndef HALCONCPP_CORE_MEMORY_LIMIT_H
#define HALCONCPP_CORE_MEMORY_LIMIT_H

#include <atomic>
#include <cstdint>

namespace HalconCpp::detail {

// In bytes: the value of the environment variable QUOVEL_MEMORY_LIMIT (a number, optionally followed by K, M or G, or
// the small letters, for powers of 1024). Where it is not set, half of what the process may use: the least of the
// machine's memory, the limits of its control groups or job, and its address space. A wrong value is a Failure.
std::uint64_t memory_limit();

class MemoryAccount {
 public:
  // The account of a call; within another call of the thread, a part of that one's.
  MemoryAccount();
  // A thread that works for the call of `account`, which outlives this.
  explicit MemoryAccount(MemoryAccount& account) noexcept;
  ~MemoryAccount();
  MemoryAccount(const MemoryAccount&) = delete;
  MemoryAccount& operator=(const MemoryAccount&) = delete;

 private:
  friend void charge_memory(std::uint64_t bytes);
  friend void credit_memory(std::uint64_t bytes) noexcept;
  friend bool counts_memory() noexcept;

  const std::uint64_t limit_;
  MemoryAccount& total_;  // where this one is counted
  MemoryAccount* const outer_;
  std::atomic<std::int64_t> used_{0};
};

// Without an account, compares the bytes alone with the ceiling.
void charge_memory(std::uint64_t bytes);
void credit_memory(std::uint64_t bytes) noexcept;
// Whether this thread has an account.
bool counts_memory() noexcept;

// A charge for as long as something is needed: the tables of a decoder, a copy.
class MemoryCharge {
 public:
  explicit MemoryCharge(std::uint64_t bytes) : bytes_(bytes) { charge_memory(bytes); }
  ~MemoryCharge() { credit_memory(bytes_); }
  MemoryCharge(const MemoryCharge&) = delete;
  MemoryCharge& operator=(const MemoryCharge&) = delete;

 private:
  const std::uint64_t bytes_;
};

}  // namespace HalconCpp::detail

#endif
