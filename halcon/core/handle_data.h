// The data that a handle refers to. Each kind of handle is a class of its own, in the folder of its subject.
#ifndef HALCONCPP_CORE_HANDLE_DATA_H
#define HALCONCPP_CORE_HANDLE_DATA_H

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

#include "HalconCpp.h"
#include "core/failure.h"

namespace HalconCpp::detail {

class EntryTable;

// A final class names its semantic type `type` ("dict", "matrix", ...) and, for errors, itself `name` ("a dictionary").
class HandleData {
 public:
  HandleData() = default;
  HandleData(const HandleData&) = delete;
  HandleData& operator=(const HandleData&) = delete;

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

template <class Data>
bool is_a(const HandleData& handle) noexcept {
  return std::string_view(handle.semantic_type()) == Data::type;
}

// Fails when the handle is of another class.
template <class Data>
Data& handle_cast(HandleData& handle) {
  if (!is_a<Data>(handle)) fail("a handle of type " + quoted(handle.semantic_type()) + " is not " + Data::name);
  return static_cast<Data&>(handle);
}

}  // namespace HalconCpp::detail

#endif
