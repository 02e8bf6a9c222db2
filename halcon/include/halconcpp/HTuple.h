#ifndef HALCONCPP_HTUPLE_H
#define HALCONCPP_HTUPLE_H

#include "halconcpp/HHandle.h"
#include "halconcpp/HString.h"

namespace HalconCpp {

class HTuple;

namespace detail {

enum class TupleKind : std::uint8_t { Empty, Integer, Real, String, Handle, Array };

// How the elements of an array of two or more are stored. `Integers32` lends the runs of a region, `Constant` stands
// for n equal elements, `Mixed` is an array of one-element tuples.
enum class ArrayKind : std::uint8_t { Integers, Integers32, Reals, Strings, Handles, Mixed, Constant };

// The shared elements of a tuple of two or more. `elements` points at `length` values of the stored type (for
// `Constant` at the one HTuple); who owns them is the derived class's business.
struct HALCONCPP_API ArrayData {
  ArrayData(ArrayKind array_kind, const void* first, Hlong count) noexcept
      : kind(array_kind), length(count), elements(first) {}
  ArrayData(const ArrayData&) = delete;
  ArrayData& operator=(const ArrayData&) = delete;
  virtual ~ArrayData();

  std::atomic<std::uint32_t> references{1};
  ArrayKind kind;
  Hlong length;
  const void* elements;
};

}  // namespace detail

// One element of a tuple, by reference: it lives as long as the tuple it came from is unchanged.
// Each reading throws on an element of another kind, but an integer answers D().
class HALCONCPP_API HTupleElement {
 public:
  Hlong L() const;
  double D() const;
  HString S() const;
  HHandle H() const;

 private:
  friend class HTuple;
  friend struct detail::Access;
  HTupleElement(const HTuple& tuple, Hlong index) noexcept : tuple_(&tuple), index_(index) {}
  [[noreturn]] void fail(const char* operation) const;
  Hlong rare_integer() const;
  double rare_real() const;

  const HTuple* tuple_;
  Hlong index_;
};

// A sequence of integers, reals, strings and handles. Copies share the elements.
class HALCONCPP_API HTuple {
 public:
  HTuple() noexcept : kind_(detail::TupleKind::Empty) {}
  HTuple(Hlong value) noexcept : kind_(detail::TupleKind::Integer) { data_.integer = value; }
  HTuple(int value) noexcept : kind_(detail::TupleKind::Integer) { data_.integer = value; }
  HTuple(double value) noexcept : kind_(detail::TupleKind::Real) { data_.real = value; }
  HTuple(const char* value);
  HTuple(const wchar_t* value);
  HTuple(const HString& value);
  HTuple(const HHandle& value);
  HTuple(const HTupleElement& element);
  HTuple(const HTuple& other) noexcept : kind_(other.kind_), data_(other.data_) {
    if (kind_ >= detail::TupleKind::String) add_reference();
  }
  HTuple(HTuple&& other) noexcept : kind_(other.kind_), data_(other.data_) { other.kind_ = detail::TupleKind::Empty; }
  HTuple& operator=(const HTuple& other) noexcept;
  HTuple& operator=(HTuple&& other) noexcept;
  ~HTuple() {
    if (kind_ >= detail::TupleKind::String) drop();
  }

  Hlong Length() const noexcept {
    if (kind_ == detail::TupleKind::Array) return data_.array->length;
    return kind_ == detail::TupleKind::Empty ? 0 : 1;
  }
  // Adds the elements of `other` at the end; other tuples that share this one's elements keep theirs.
  HTuple& Append(const HTuple& other);
  HTupleElement operator[](Hlong index) const noexcept { return HTupleElement(*this, index); }

  HTuple TupleIsHandleElem() const;
  HTuple TupleIsStringElem() const;
  HTuple TupleIsIntElem() const;
  HTuple TupleSemType() const;
  HTuple TupleSemTypeElem() const;

 private:
  friend class HTupleElement;
  friend struct detail::Access;
  union Data {
    Hlong integer = 0;
    double real;
    const detail::StringData* string;  // null: the empty text
    detail::HandleData* handle;        // null: an empty handle
    detail::ArrayData* array;
  };
  void add_reference() const noexcept;
  void drop() noexcept;

  detail::TupleKind kind_;
  Data data_;
};

inline Hlong HTupleElement::L() const {
  detail::pass_gate("HTupleElement::L");
  if (tuple_->kind_ == detail::TupleKind::Integer && index_ == 0) return tuple_->data_.integer;
  if (tuple_->kind_ == detail::TupleKind::Array) {
    const detail::ArrayData& array = *tuple_->data_.array;
    if (static_cast<std::uint64_t>(index_) < static_cast<std::uint64_t>(array.length)) {
      if (array.kind == detail::ArrayKind::Integers) return static_cast<const Hlong*>(array.elements)[index_];
      if (array.kind == detail::ArrayKind::Integers32) return static_cast<const std::int32_t*>(array.elements)[index_];
      if (array.kind == detail::ArrayKind::Constant) {
        const HTuple& value = *static_cast<const HTuple*>(array.elements);
        if (value.kind_ == detail::TupleKind::Integer) return value.data_.integer;
      }
    }
  }
  return rare_integer();
}

inline double HTupleElement::D() const {
  detail::pass_gate("HTupleElement::D");
  if (tuple_->kind_ == detail::TupleKind::Array) {
    const detail::ArrayData& array = *tuple_->data_.array;
    if (array.kind == detail::ArrayKind::Reals &&
        static_cast<std::uint64_t>(index_) < static_cast<std::uint64_t>(array.length))
      return static_cast<const double*>(array.elements)[index_];
  }
  return rare_real();
}

}  // namespace HalconCpp

#endif
