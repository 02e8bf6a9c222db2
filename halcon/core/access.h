// The inside of the public value types, for this library alone.
#ifndef HALCONCPP_CORE_ACCESS_H
#define HALCONCPP_CORE_ACCESS_H

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "core/buffer.h"
#include "core/handle_data.h"
#include "core/string_data.h"

namespace HalconCpp::detail {

struct Access {
  // Strings.
  static HString string(std::string_view utf8) { return adopt(new_string(utf8)); }
  static HString adopt(const StringData* data) noexcept {
    HString result;
    result.data_ = data;
    return result;
  }
  static const StringData* data(const HString& string) noexcept { return string.data_; }
  static std::string_view view(const HString& string) noexcept { return text_of(string.data_); }

  // Handles. `wrap` takes over the caller's reference.
  static HHandle wrap(HandleData* data) noexcept {
    HHandle result;
    result.data_ = data;
    return result;
  }
  static HandleData* data(const HHandle& handle) noexcept { return handle.data_; }
  static void replace(HHandle& handle, HHandle with) noexcept { handle = std::move(with); }

  // Objects. `wrap` takes over the caller's reference.
  static HObject wrap(const ObjectTuple* data) noexcept {
    HObject result;
    result.data_ = data;
    return result;
  }
  static const ObjectTuple* data(const HObject& object) noexcept { return object.data_; }

  // Exceptions.
  static HException exception(HString message) noexcept { return HException(std::move(message)); }

  // Reading tuples.
  static TupleKind kind(const HTuple& tuple) noexcept { return tuple.kind_; }
  static Hlong integer(const HTuple& tuple) noexcept { return tuple.data_.integer; }
  static double real(const HTuple& tuple) noexcept { return tuple.data_.real; }
  static const StringData* string_data(const HTuple& tuple) noexcept { return tuple.data_.string; }
  static std::string_view text(const HTuple& tuple) noexcept { return text_of(tuple.data_.string); }
  static HandleData* handle_data(const HTuple& tuple) noexcept { return tuple.data_.handle; }
  static const ArrayData& array(const HTuple& tuple) noexcept { return *tuple.data_.array; }
  // Element i, 0 <= i < Length(), as a tuple of one.
  static HTuple element(const HTuple& tuple, Hlong index) noexcept;
  // What element i is, 0 <= i < Length().
  static TupleKind element_kind(const HTuple& tuple, Hlong index) noexcept;
  // What all elements are; `Array` when they differ, `Empty` for an empty tuple.
  static TupleKind common_kind(const HTuple& tuple) noexcept;
  // The semantic type of a tuple of one: "integer", "dict", "matrix".
  static const char* type_name(const HTuple& element) noexcept;

  // Making tuples.
  static HTuple text_tuple(std::string_view utf8) { return adopt_string(new_string(utf8)); }
  // For names that are returned again and again: made once, never destroyed.
  static HTuple permanent_text(std::string_view utf8) { return adopt_string(new_permanent_string(utf8)); }
  static HTuple adopt_string(const StringData* data) noexcept {
    HTuple result;
    result.kind_ = TupleKind::String;
    result.data_.string = data;
    return result;
  }
  static HTuple handle_tuple(HHandle handle) noexcept {
    HTuple result;
    result.kind_ = TupleKind::Handle;
    result.data_.handle = std::exchange(handle.data_, nullptr);
    return result;
  }
  // The elements move into the tuple without a copy.
  static HTuple integers(Buffer<Hlong> values);
  static HTuple reals(Buffer<double> values);
  // The same; the tuple takes over one reference to each element, also when this throws.
  static HTuple strings(Buffer<const StringData*> values);
  static HTuple handles(Buffer<HandleData*> values);
  // One-element tuples of any mix, moved from, become the tuple of their elements, stored by what they have in common.
  static HTuple elements(std::span<HTuple> values);
  static HTuple elements(std::vector<HTuple> values) { return elements(std::span<HTuple>(values)); }
  // The tuple reads `values`, which `owner` keeps alive.
  static HTuple lend(std::span<const double> values, std::shared_ptr<const void> owner);
  static HTuple lend(std::span<const std::int32_t> values, std::shared_ptr<const void> owner);
  // n equal elements; `element` has one.
  static HTuple repeat(HTuple element, Hlong n);

 private:
  static HTuple from_array(ArrayData* array) noexcept {
    HTuple result;
    result.kind_ = TupleKind::Array;
    result.data_.array = array;
    return result;
  }
};

}  // namespace HalconCpp::detail

#endif
