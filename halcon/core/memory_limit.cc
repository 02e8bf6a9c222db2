#include "core/memory_limit.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/resource.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "core/failure.h"

namespace HalconCpp::detail {

namespace {

constexpr std::uint64_t no_limit = UINT64_MAX;
constexpr const char* variable = "QUOVEL_MEMORY_LIMIT";

#if defined(_WIN32)

std::optional<std::string> setting() {
  char text[64];  // not getenv, which does not see what a host of another runtime has set
  const DWORD length = GetEnvironmentVariableA(variable, text, sizeof text);
  if (length == 0) return {};
  return length < sizeof text ? std::string(text, length) : std::string("a long text");
}

std::uint64_t usable_memory() {
  MEMORYSTATUSEX status{};
  status.dwLength = sizeof status;
  std::uint64_t least =
      GlobalMemoryStatusEx(&status) ? std::min(status.ullTotalPhys, status.ullTotalVirtual) : no_limit;
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION job{};
  if (QueryInformationJobObject(nullptr, JobObjectExtendedLimitInformation, &job, sizeof job, nullptr)) {
    const DWORD flags = job.BasicLimitInformation.LimitFlags;
    if (flags & JOB_OBJECT_LIMIT_PROCESS_MEMORY) least = std::min<std::uint64_t>(least, job.ProcessMemoryLimit);
    if (flags & JOB_OBJECT_LIMIT_JOB_MEMORY) least = std::min<std::uint64_t>(least, job.JobMemoryLimit);
  }
  return least;
}

#else

std::optional<std::string> setting() {
  const char* text = std::getenv(variable);
  return text && *text ? std::optional<std::string>(text) : std::nullopt;
}

std::uint64_t number_in(const std::string& file) {
  std::uint64_t number = no_limit;
  std::ifstream(file) >> number;  // "max", or no such file: no limit
  return number == 0 ? no_limit : number;
}

// The limits of a control group and of those above it. Inside a container its path may lead nowhere; the root remains.
std::uint64_t group_limit(const std::string& root, std::string path, const char* file) {
  std::uint64_t least = number_in(root + "/" + file);
  for (; path.size() > 1; path.resize(path.find_last_of('/')))
    least = std::min(least, number_in(root + path + "/" + file));
  return least;
}

// Lines of /proc/self/cgroup (cgroups(7)): "0::/path" in version 2, "number:memory:/path" in version 1.
std::uint64_t control_group_limit() {
  std::uint64_t least = no_limit;
  std::ifstream groups("/proc/self/cgroup");
  for (std::string line; std::getline(groups, line);) {
    const auto first = line.find(':'), second = line.find(':', first + 1);
    if (second == line.npos) continue;
    const std::string controllers = line.substr(first + 1, second - first - 1), path = line.substr(second + 1);
    if (controllers.empty())
      least = std::min(least, group_limit("/sys/fs/cgroup", path, "memory.max"));
    else if (controllers == "memory")
      least = std::min(least, group_limit("/sys/fs/cgroup/memory", path, "memory.limit_in_bytes"));
  }
  return least;
}

std::uint64_t usable_memory() {
  std::uint64_t least = control_group_limit();
  const long pages = sysconf(_SC_PHYS_PAGES), page = sysconf(_SC_PAGESIZE);
  if (pages > 0 && page > 0)
    least = std::min(least, static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(page));
  rlimit space{};
  if (getrlimit(RLIMIT_AS, &space) == 0 && space.rlim_cur != RLIM_INFINITY)
    least = std::min<std::uint64_t>(least, space.rlim_cur);
  return least;
}

#endif

std::uint64_t parsed(std::string_view text) {
  constexpr std::string_view units = "KMGkmg";
  std::uint64_t number = 0, factor = 1;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const std::string_view unit = text.substr(static_cast<std::size_t>(end - text.data()));
  const auto power = unit.size() == 1 ? units.find(unit[0]) : units.npos;
  if (power != units.npos) factor <<= 10 * (power % 3 + 1);
  const bool known_unit = unit.empty() || power != units.npos;
  if (error != std::errc() || !known_unit || number == 0 || number > no_limit / factor)
    fail(std::string(variable) + " is " + quoted(text) + "; a number of bytes is expected, such as 500M or 2G");
  return number * factor;
}

thread_local MemoryAccount* current = nullptr;

}  // namespace

std::uint64_t memory_limit() {
  if (const auto text = setting()) return parsed(*text);
  static const std::uint64_t half = usable_memory() / 2;
  return half;
}

MemoryAccount::MemoryAccount()
    : limit_(current ? current->limit_ : memory_limit()),
      total_(current ? current->total_ : *this),
      outer_(std::exchange(current, this)) {}

MemoryAccount::MemoryAccount(MemoryAccount& account) noexcept
    : limit_(account.limit_), total_(account.total_), outer_(std::exchange(current, this)) {}

MemoryAccount::~MemoryAccount() { current = outer_; }

bool counts_memory() noexcept { return current != nullptr; }

void charge_memory(std::uint64_t bytes) {
  const std::uint64_t limit = current ? current->limit_ : memory_limit();
  std::int64_t before = 0;
  if (current && bytes <= limit)
    before = current->total_.used_.fetch_add(static_cast<std::int64_t>(bytes), std::memory_order_relaxed);
  if (bytes <= limit && (before <= 0 || static_cast<std::uint64_t>(before) <= limit - bytes)) return;
  if (bytes <= limit) credit_memory(bytes);
  fail("needs more memory than one call may take: " + std::to_string(limit) + (limit == 1 ? " byte" : " bytes") +
       " (set " + variable + " to change that)");
}

void credit_memory(std::uint64_t bytes) noexcept {
  if (current) current->total_.used_.fetch_sub(static_cast<std::int64_t>(bytes), std::memory_order_relaxed);
}

}  // namespace HalconCpp::detail
