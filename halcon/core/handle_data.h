// What stands behind a handle.
#ifndef HALCONCPP_CORE_HANDLE_DATA_H
#define HALCONCPP_CORE_HANDLE_DATA_H

#include <atomic>
#include <cstdint>

#include "HalconCpp.h"

namespace HalconCpp::detail {

class EntryTable;

class HandleData {
 public:
  HandleData() = default;
  HandleData(const HandleData&) = delete;
  HandleData& operator=(const HandleData&) = delete;

  // "dict", "matrix", "object_model_3d", "dl_model".
  virtual const char* semantic_type() const noexcept = 0;
  // The entries that the generic queries show; null for a handle that has no keys.
  virtual const EntryTable* entries() const noexcept { return nullptr; }

 protected:
  virtual ~HandleData() = default;

 private:
  friend void retain(HandleData* data) noexcept;
  friend void release(HandleData* data) noexcept;
  std::atomic<std::uint32_t> references_{1};
  HandleData* next_released_ = nullptr;  // links the handles that wait to be destroyed
};

}  // namespace HalconCpp::detail

#endif
