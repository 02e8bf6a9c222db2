#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "core/access.h"
#include "core/buffer.h"
#include "core/failure.h"
#include "core/handle_data.h"
#include "core/string_data.h"

namespace HalconCpp {

namespace detail {

ArrayData::~ArrayData() = default;

namespace {

// Of strings and handles it holds one reference each.
template <class T>
struct GrowingArray final : ArrayData {
  GrowingArray(ArrayKind array_kind, Buffer<T> from) noexcept
      : ArrayData(array_kind, from.data(), static_cast<Hlong>(from.size())), values(std::move(from)) {}
  ~GrowingArray() override {
    if constexpr (std::is_pointer_v<T>)
      for (T element : values) release(element);
  }
  void refresh() noexcept {
    elements = values.data();
    length = static_cast<Hlong>(values.size());
  }
  Buffer<T> values;
};

// A few values in the same allocation. It never grows. Of strings and handles it holds one reference each.
template <class T>
struct SmallArray final : ArrayData {
  static constexpr std::size_t max_size = 16;

  static SmallArray* make(ArrayKind array_kind, std::span<const T> values) {
    void* block = ::operator new(sizeof(SmallArray) + values.size() * sizeof(T));
    return new (block) SmallArray(array_kind, values);
  }
  static void operator delete(void* block) { ::operator delete(block); }
  ~SmallArray() override {
    if constexpr (std::is_pointer_v<T>)
      for (Hlong i = 0; i < length; ++i) release(static_cast<const T*>(elements)[i]);
  }

 private:
  SmallArray(ArrayKind array_kind, std::span<const T> values) noexcept
      : ArrayData(array_kind, this + 1, static_cast<Hlong>(values.size())) {
    static_assert(sizeof(SmallArray) % alignof(T) == 0);
    std::memcpy(static_cast<void*>(this + 1), values.data(), values.size_bytes());
  }
};

using IntegerArray = GrowingArray<Hlong>;
using RealArray = GrowingArray<double>;
using StringArray = GrowingArray<const StringData*>;
using HandleArray = GrowingArray<HandleData*>;

struct MixedArray final : ArrayData {
  explicit MixedArray(std::vector<HTuple> from) noexcept
      : ArrayData(ArrayKind::Mixed, from.data(), static_cast<Hlong>(from.size())), values(std::move(from)) {}
  void refresh() noexcept {
    elements = values.data();
    length = static_cast<Hlong>(values.size());
  }
  std::vector<HTuple> values;
};

struct ConstantArray final : ArrayData {
  ConstantArray(HTuple element, Hlong n) noexcept
      : ArrayData(ArrayKind::Constant, &value, n), value(std::move(element)) {}
  HTuple value;
};

struct LentArray final : ArrayData {
  LentArray(ArrayKind array_kind, const void* first, std::size_t count, std::shared_ptr<const void> keeper) noexcept
      : ArrayData(array_kind, first, static_cast<Hlong>(count)), owner(std::move(keeper)) {}
  std::shared_ptr<const void> owner;
};

const HTuple& mixed_element(const ArrayData& array, Hlong index) {
  return static_cast<const HTuple*>(array.elements)[array.kind == ArrayKind::Constant ? 0 : index];
}

// Adds the elements of `from`, all of them of the stored type.
template <class T>
void append_typed(Buffer<T>& to, const HTuple& from, T (*read)(const HTuple&) noexcept) {
  const Hlong count = from.Length();
  if constexpr (!std::is_pointer_v<T>)
    if (Access::kind(from) == TupleKind::Array) {
      const ArrayData& array = Access::array(from);
      if (array.kind == ArrayKind::Integers || array.kind == ArrayKind::Reals)
        return to.append(static_cast<const T*>(array.elements), static_cast<std::size_t>(count));
    }
  for (Hlong i = 0; i < count; ++i) {
    T element = read(Access::element(from, i));
    to.push_back(element);
    if constexpr (std::is_pointer_v<T>) retain(element);
  }
}

void append_mixed(std::vector<HTuple>& to, const HTuple& from) {
  for (Hlong i = 0; i < from.Length(); ++i) to.push_back(Access::element(from, i));
}

// Whether `array` belongs to one tuple alone and can take more elements of `kind`.
bool can_grow(const ArrayData& array, TupleKind kind) {
  if (array.references.load(std::memory_order_acquire) != 1) return false;
  switch (array.kind) {
    case ArrayKind::Integers:
      return kind == TupleKind::Integer && dynamic_cast<const IntegerArray*>(&array);
    case ArrayKind::Reals:
      return kind == TupleKind::Real && dynamic_cast<const RealArray*>(&array);
    case ArrayKind::Strings:
      return kind == TupleKind::String && dynamic_cast<const StringArray*>(&array);
    case ArrayKind::Handles:
      return kind == TupleKind::Handle && dynamic_cast<const HandleArray*>(&array);
    case ArrayKind::Mixed:
      return true;
    case ArrayKind::Integers32:
    case ArrayKind::Constant:
      return false;
  }
  return false;
}

void grow(ArrayData& array, const HTuple& by) {
  const auto add = [&](auto& typed, auto append, auto... read) {
    append(typed.values, by, read...);
    typed.refresh();
  };
  switch (array.kind) {
    case ArrayKind::Integers:
      return add(static_cast<IntegerArray&>(array), append_typed<Hlong>, Access::integer);
    case ArrayKind::Reals:
      return add(static_cast<RealArray&>(array), append_typed<double>, Access::real);
    case ArrayKind::Strings:
      return add(static_cast<StringArray&>(array), append_typed<const StringData*>, Access::string_data);
    case ArrayKind::Handles:
      return add(static_cast<HandleArray&>(array), append_typed<HandleData*>, Access::handle_data);
    default:
      return add(static_cast<MixedArray&>(array), append_mixed);
  }
}

ArrayData* new_array(TupleKind kind) {
  switch (kind) {
    case TupleKind::Integer:
      return new IntegerArray(ArrayKind::Integers, {});
    case TupleKind::Real:
      return new RealArray(ArrayKind::Reals, {});
    case TupleKind::String:
      return new StringArray(ArrayKind::Strings, {});
    case TupleKind::Handle:
      return new HandleArray(ArrayKind::Handles, {});
    default:
      return new MixedArray({});
  }
}

void release_array(ArrayData* array) noexcept {
  const bool is_only = array->references.load(std::memory_order_acquire) == 1;  // nobody else can reach it
  if (is_only || array->references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete array;
}

struct ReleaseArray {
  void operator()(ArrayData* array) const noexcept { delete array; }
};

}  // namespace

TupleKind Access::element_kind(const HTuple& tuple, Hlong index) noexcept {
  if (tuple.kind_ != TupleKind::Array) return tuple.kind_;
  const ArrayData& array = *tuple.data_.array;
  switch (array.kind) {
    case ArrayKind::Integers:
    case ArrayKind::Integers32:
      return TupleKind::Integer;
    case ArrayKind::Reals:
      return TupleKind::Real;
    case ArrayKind::Strings:
      return TupleKind::String;
    case ArrayKind::Handles:
      return TupleKind::Handle;
    default:
      return mixed_element(array, index).kind_;
  }
}

TupleKind Access::common_kind(const HTuple& tuple) noexcept {
  const TupleKind kind = Access::kind(tuple);
  if (kind != TupleKind::Array) return kind;
  const ArrayData& array = Access::array(tuple);
  return array.kind == ArrayKind::Mixed ? TupleKind::Array : Access::element_kind(tuple, 0);
}

HTuple Access::element(const HTuple& tuple, Hlong index) noexcept {
  if (tuple.kind_ != TupleKind::Array) return tuple;
  const ArrayData& array = *tuple.data_.array;
  switch (array.kind) {
    case ArrayKind::Integers:
      return static_cast<const Hlong*>(array.elements)[index];
    case ArrayKind::Integers32:
      return Hlong{static_cast<const std::int32_t*>(array.elements)[index]};
    case ArrayKind::Reals:
      return static_cast<const double*>(array.elements)[index];
    case ArrayKind::Strings: {
      const StringData* string = static_cast<const StringData* const*>(array.elements)[index];
      retain(string);
      return adopt_string(string);
    }
    case ArrayKind::Handles: {
      HandleData* handle = static_cast<HandleData* const*>(array.elements)[index];
      retain(handle);
      return handle_tuple(wrap(handle));
    }
    default:
      return mixed_element(array, index);
  }
}

HTuple Access::integers(Buffer<Hlong> values) {
  if (values.empty()) return {};
  if (values.size() == 1) return values[0];
  return from_array(new IntegerArray(ArrayKind::Integers, std::move(values)));
}

HTuple Access::reals(Buffer<double> values) {
  if (values.empty()) return {};
  if (values.size() == 1) return values[0];
  return from_array(new RealArray(ArrayKind::Reals, std::move(values)));
}

namespace {

template <class Array, class T>
Array* new_counted(ArrayKind kind, Buffer<T> values) {
  try {
    return new Array(kind, std::move(values));
  } catch (...) {
    for (T value : values) release(value);
    throw;
  }
}

}  // namespace

HTuple Access::strings(Buffer<const StringData*> values) {
  if (values.empty()) return {};
  if (values.size() == 1) return adopt_string(values[0]);
  return from_array(new_counted<StringArray>(ArrayKind::Strings, std::move(values)));
}

HTuple Access::handles(Buffer<HandleData*> values) {
  if (values.empty()) return {};
  if (values.size() == 1) return handle_tuple(wrap(values[0]));
  return from_array(new_counted<HandleArray>(ArrayKind::Handles, std::move(values)));
}

namespace {

template <class T, class Take>
Buffer<T> taken(std::span<HTuple> values, Take take) {
  Buffer<T> elements(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) elements[i] = take(values[i]);
  return elements;
}

template <class T>
ArrayData* small_array(ArrayKind kind, std::span<const HTuple> values, T (*read)(const HTuple&) noexcept) {
  T elements[SmallArray<T>::max_size];
  for (std::size_t i = 0; i < values.size(); ++i) elements[i] = read(values[i]);
  return SmallArray<T>::make(kind, {elements, values.size()});
}

}  // namespace

HTuple Access::elements(std::span<HTuple> values) {
  if (values.empty()) return {};
  if (values.size() == 1) return std::move(values[0]);
  const TupleKind kind = values[0].kind_;
  const bool mixed = std::any_of(values.begin(), values.end(), [&](const HTuple& v) { return v.kind_ != kind; });
  if (!mixed && values.size() <= SmallArray<Hlong>::max_size) {
    if (kind == TupleKind::Integer) return from_array(small_array<Hlong>(ArrayKind::Integers, values, integer));
    if (kind == TupleKind::Real) return from_array(small_array<double>(ArrayKind::Reals, values, real));
    if (kind == TupleKind::String) {
      HTuple made = from_array(small_array<const StringData*>(ArrayKind::Strings, values, string_data));
      for (HTuple& value : values) value.kind_ = TupleKind::Empty;  // their references are the array's now
      return made;
    }
  }
  switch (mixed ? TupleKind::Array : kind) {
    case TupleKind::Integer:
      return integers(taken<Hlong>(values, [](HTuple& value) { return value.data_.integer; }));
    case TupleKind::Real:
      return reals(taken<double>(values, [](HTuple& value) { return value.data_.real; }));
    case TupleKind::String:
      return strings(taken<const StringData*>(values, [](HTuple& value) {
        value.kind_ = TupleKind::Empty;
        return value.data_.string;
      }));
    case TupleKind::Handle:
      return handles(taken<HandleData*>(values, [](HTuple& value) {
        value.kind_ = TupleKind::Empty;
        return value.data_.handle;
      }));
    default:
      return from_array(new MixedArray({std::move_iterator(values.begin()), std::move_iterator(values.end())}));
  }
}

HTuple Access::lend(std::span<const double> values, std::shared_ptr<const void> owner) {
  if (values.empty()) return {};
  if (values.size() == 1) return values[0];
  return from_array(new LentArray(ArrayKind::Reals, values.data(), values.size(), std::move(owner)));
}

HTuple Access::lend(std::span<const std::int32_t> values, std::shared_ptr<const void> owner) {
  if (values.empty()) return {};
  if (values.size() == 1) return Hlong{values[0]};
  return from_array(new LentArray(ArrayKind::Integers32, values.data(), values.size(), std::move(owner)));
}

HTuple Access::repeat(HTuple element, Hlong n) {
  if (n <= 0) return {};
  if (n == 1) return element;
  return from_array(new ConstantArray(std::move(element), n));
}

}  // namespace detail

using detail::Access;
using detail::TupleKind;

HTuple::HTuple(const char* value) : HTuple(HString(value)) {}
HTuple::HTuple(const wchar_t* value) : HTuple(HString(value)) {}

HTuple::HTuple(const HString& value) : kind_(TupleKind::String) {
  detail::pass_gate("HTuple");
  data_.string = Access::data(value);
  detail::retain(data_.string);
}

HTuple::HTuple(const HHandle& value) : kind_(TupleKind::Handle) {
  detail::pass_gate("HTuple");
  data_.handle = Access::data(value);
  detail::retain(data_.handle);
}

HTuple::HTuple(const HTupleElement& element) : HTuple() {
  detail::pass_gate("HTuple");
  const HTuple& tuple = *element.tuple_;
  if (element.index_ < 0 || element.index_ >= tuple.Length()) element.fail("HTuple");
  *this = Access::element(tuple, element.index_);
}

HTuple& HTuple::operator=(const HTuple& other) noexcept { return *this = HTuple(other); }

HTuple& HTuple::operator=(HTuple&& other) noexcept {
  std::swap(kind_, other.kind_);
  std::swap(data_, other.data_);
  return *this;
}

void HTuple::add_reference() const noexcept {
  if (kind_ == TupleKind::String) detail::retain(data_.string);
  if (kind_ == TupleKind::Handle) detail::retain(data_.handle);
  if (kind_ == TupleKind::Array) data_.array->references.fetch_add(1, std::memory_order_relaxed);
}

void HTuple::drop() noexcept {
  if (kind_ == TupleKind::String) detail::release(data_.string);
  if (kind_ == TupleKind::Handle) detail::release(data_.handle);
  if (kind_ == TupleKind::Array) detail::release_array(data_.array);
}

HTuple& HTuple::Append(const HTuple& other) {
  detail::operate("HTuple::Append", [&] {
    if (other.Length() == 0) return;
    if (Length() == 0) {
      *this = other;
      return;
    }
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): `other` may be this tuple
    const HTuple more = other;
    const TupleKind kind =
        Access::common_kind(*this) == Access::common_kind(more) ? Access::common_kind(more) : TupleKind::Array;
    if (kind_ != TupleKind::Array || !detail::can_grow(*data_.array, kind)) {
      std::unique_ptr<detail::ArrayData, detail::ReleaseArray> array(detail::new_array(kind));
      detail::grow(*array, *this);
      HTuple grown;
      grown.kind_ = TupleKind::Array;
      grown.data_.array = array.release();
      std::swap(kind_, grown.kind_);
      std::swap(data_, grown.data_);
    }
    detail::grow(*data_.array, more);
  });
  return *this;
}

// Elements, off the fast path.

void HTupleElement::fail(const char* operation) const {
  if (index_ < 0 || index_ >= tuple_->Length())
    detail::raise(operation, "element " + std::to_string(index_) + " of a tuple of " +
                                 std::to_string(tuple_->Length()) + " does not exist");
  detail::raise(operation, "element " + std::to_string(index_) + " is of type " +
                               Access::type_name(Access::element(*tuple_, index_)));
}

// Element `index` of a tuple; an empty tuple when there is no such element.
static HTuple element_at(const HTuple& tuple, Hlong index) noexcept {
  return index >= 0 && index < tuple.Length() ? Access::element(tuple, index) : HTuple();
}

Hlong HTupleElement::rare_integer() const {
  const HTuple value = element_at(*tuple_, index_);
  if (value.kind_ != TupleKind::Integer) fail("HTupleElement::L");
  return value.data_.integer;
}

double HTupleElement::rare_real() const {
  const HTuple value = element_at(*tuple_, index_);
  if (value.kind_ == TupleKind::Integer) return static_cast<double>(value.data_.integer);
  if (value.kind_ != TupleKind::Real) fail("HTupleElement::D");
  return value.data_.real;
}

// The two common cases take no tuple in between: they are asked for every key and every text.
HString HTupleElement::S() const {
  detail::pass_gate("HTupleElement::S");
  const auto shared = [](const detail::StringData* string) {
    detail::retain(string);
    return Access::adopt(string);
  };
  if (tuple_->kind_ == TupleKind::String && index_ == 0) return shared(tuple_->data_.string);
  if (tuple_->kind_ == TupleKind::Array && tuple_->data_.array->kind == detail::ArrayKind::Strings && index_ >= 0 &&
      index_ < tuple_->data_.array->length)
    return shared(static_cast<const detail::StringData* const*>(tuple_->data_.array->elements)[index_]);
  const HTuple value = element_at(*tuple_, index_);
  if (value.kind_ != TupleKind::String) fail("HTupleElement::S");
  return shared(value.data_.string);
}

HHandle HTupleElement::H() const {
  detail::pass_gate("HTupleElement::H");
  HTuple value = element_at(*tuple_, index_);
  if (value.kind_ != TupleKind::Handle) fail("HTupleElement::H");
  value.kind_ = TupleKind::Empty;  // its reference is the handle's now
  return Access::wrap(value.data_.handle);
}

}  // namespace HalconCpp
