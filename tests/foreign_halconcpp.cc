// A library of the name and of the C++ names of the built-in layer, as another product in the host's process may have
// loaded one. Whoever calls into it by mistake is stopped at once.
#include <atomic>
#include <cstdlib>

#include "HalconCpp.h"

namespace HalconCpp {

namespace detail {
std::atomic<bool> calls_are_watched{true};
void report_call(const char*) { std::abort(); }
}  // namespace detail

void SetSystem(const HTuple&, const HTuple&) { std::abort(); }
void GetSystem(const HTuple&, HTuple*) { std::abort(); }
void ReadImage(HObject*, const HTuple&) { std::abort(); }
void ReadObject(HObject*, const HTuple&) { std::abort(); }
HString HException::ErrorMessage() const { std::abort(); }

}  // namespace HalconCpp
