#ifndef HALCONCPP_HHANDLE_H
#define HALCONCPP_HHANDLE_H

#include "halconcpp/Base.h"

namespace HalconCpp {

namespace detail {
class HandleData;
struct Access;
HALCONCPP_API void retain(HandleData* data) noexcept;
HALCONCPP_API void release(HandleData* data) noexcept;
}  // namespace detail

// A reference to a dictionary, matrix, model, ...; the last reference destroys it, without recursion however deeply
// handles hold one another.
class HALCONCPP_API HHandle {
 public:
  HHandle() noexcept = default;
  HHandle(const HHandle& other) noexcept;
  HHandle(HHandle&& other) noexcept : data_(other.data_) { other.data_ = nullptr; }
  HHandle& operator=(const HHandle& other) noexcept;
  HHandle& operator=(HHandle&& other) noexcept;
  ~HHandle();

 private:
  friend struct detail::Access;
  detail::HandleData* data_ = nullptr;
};

}  // namespace HalconCpp

#endif
