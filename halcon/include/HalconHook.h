// Watching the calls that go through the class interface: for tests that count them, make one fail, or put another
// answer in the place of one. Off by default; costs one relaxed load per call when off.
#ifndef HALCONCPP_HALCONHOOK_H
#define HALCONCPP_HALCONHOOK_H

#include "HalconCpp.h"

namespace HalconCpp {

// Called on the thread that makes the call. Calls that the provider makes to itself are not reported while it is inside
// one that was.
class HALCONCPP_API CallWatcher {
 public:
  virtual ~CallWatcher();
  // Before every operator, member, element access and constructor that can throw; throwing an HException makes it fail.
  virtual void called(const char* operation);
  // After GetSystem, GetDictParam, GetHandleParam, AreaCenter and CountChannels, with the (first) answer: may replace
  // it.
  virtual void answered(const char* operation, HTuple& answer);
  // After GetImagePointer1 and GetImagePointer1Rect.
  virtual void answered(const char* operation, void*& pointer);
};

// Process-wide; null turns watching off. The watcher must outlive every call that runs meanwhile.
HALCONCPP_API void WatchCalls(CallWatcher* watcher) noexcept;

[[noreturn]] HALCONCPP_API void ThrowHException(const char* message);

}  // namespace HalconCpp

#endif
