// What every header of the class interface needs: the export macro, the integer type and the gate in front of every
// call that can fail.
#ifndef HALCONCPP_BASE_H
#define HALCONCPP_BASE_H

#include <atomic>
#include <cstdint>

// On Windows always a static library. Elsewhere one can make a shared library of it.
#if defined(_WIN32)
#define HALCONCPP_API
#else
#define HALCONCPP_API __attribute__((visibility("default")))
#endif

namespace HalconCpp {

using Hlong = std::int64_t;

namespace detail {

// True while a test watches the calls (HalconHook.h); read before every call that can fail, one relaxed load when off.
extern HALCONCPP_API std::atomic<bool> calls_are_watched;
HALCONCPP_API void report_call(const char* operation);

// The gate in front of every operator, member, element access and constructor that can throw.
inline void pass_gate(const char* operation) {
  if (calls_are_watched.load(std::memory_order_relaxed)) [[unlikely]]
    report_call(operation);
}

}  // namespace detail
}  // namespace HalconCpp

#endif
