#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "container/format.h"
#include "container/parts.h"
#include "container/stream.h"
#include "core/access.h"
#include "core/buffer.h"
#include "core/failure.h"
#include "core/memory_limit.h"
#include "core/string_data.h"

namespace HalconCpp::detail::container {

namespace {

// The least that an element of a mixed tuple takes: its tag and eight bytes.
constexpr std::size_t least_element = 9;

void write_text(Writer& out, std::string_view text) {
  out.count(text.size());
  out.values(text);
}

void write_element(Writer& out, const HTuple& element, std::uint64_t& next_part) {
  switch (Access::kind(element)) {
    case TupleKind::Integer:
      out.value(Tag::Integer);
      return out.value(Access::integer(element));
    case TupleKind::Real:
      out.value(Tag::Real);
      return out.value(Access::real(element));
    case TupleKind::String:
      out.value(Tag::String);
      return write_text(out, Access::text(element));
    case TupleKind::Handle:
      out.value(Tag::Handle);
      return out.value(Access::handle_data(element) ? next_part-- : std::uint64_t{0});
    default:
      return out.value(Tag::Empty);
  }
}

template <class T>
void write_array(Writer& out, Tag tag, const ArrayData& array) {
  const std::span<const T> values(static_cast<const T*>(array.elements), static_cast<std::size_t>(array.length));
  out.value(tag);
  out.count(values.size());
  out.values(values);
}

template <class T>
void write_equal(Writer& out, Tag tag, Hlong count, T value) {
  out.value(tag);
  out.count(static_cast<std::size_t>(count));
  for (Hlong i = 0; i < count; ++i) out.value(value);
}

void write_texts(Writer& out, const ArrayData& array) {
  const std::span texts(static_cast<const StringData* const*>(array.elements), static_cast<std::size_t>(array.length));
  std::size_t bytes = 0;
  for (const StringData* text : texts) bytes += text_of(text).size();
  out.value(Tag::Strings);
  out.count(texts.size());
  out.count(bytes);
  for (const StringData* text : texts) out.value(static_cast<std::uint32_t>(text_of(text).size()));
  for (const StringData* text : texts) out.values(text_of(text));
}

void write_mixed(Writer& out, const HTuple& tuple, std::uint64_t& next_part) {
  out.value(Tag::Mixed);
  out.count(static_cast<std::size_t>(tuple.Length()));
  for (Hlong i = 0; i < tuple.Length(); ++i) write_element(out, Access::element(tuple, i), next_part);
}

void write_constant(Writer& out, const HTuple& tuple, std::uint64_t& next_part) {
  const HTuple value = Access::element(tuple, 0);
  if (Access::kind(value) == TupleKind::Integer)
    return write_equal(out, Tag::Integers, tuple.Length(), Access::integer(value));
  if (Access::kind(value) == TupleKind::Real) return write_equal(out, Tag::Reals, tuple.Length(), Access::real(value));
  write_mixed(out, tuple, next_part);
}

HTuple read_text(Reader& in) {
  const Buffer<char> text = in.array<char>(in.count(1));
  return Access::text_tuple({text.data(), text.size()});
}

HTuple read_integers32(Reader& in) {
  const auto values = std::make_shared<const Buffer<std::int32_t>>(in.array<std::int32_t>(in.count(4)));
  return Access::lend(std::span<const std::int32_t>(*values), values);
}

HTuple read_texts(Reader& in) {
  const std::size_t count = in.count(sizeof(std::uint32_t));
  const std::size_t bytes = in.count(1);
  const auto lengths = in.array<std::uint32_t>(count);
  const auto characters = in.array<char>(bytes);
  std::string_view left(characters.data(), bytes);
  Buffer<const StringData*> texts;
  texts.reserve(count);
  try {
    for (const std::uint32_t length : lengths) {
      if (length > left.size()) fail("a text is longer than all texts of its tuple");
      texts.push_back(new_string(left.substr(0, length)));
      left.remove_prefix(length);
    }
  } catch (...) {
    for (const StringData* text : texts) release(text);
    throw;
  }
  return Access::strings(std::move(texts));
}

HTuple read_element(Reader& in, Tag tag, ReadParts& parts) {
  switch (tag) {
    case Tag::Integer:
      return in.value<Hlong>();
    case Tag::Real:
      return in.value<double>();
    case Tag::String:
      return read_text(in);
    case Tag::Handle:
      return Access::handle_tuple(parts.take(in.value<std::uint64_t>()));
    default:
      fail("holds a value of unknown type " + std::to_string(static_cast<int>(tag)));
  }
}

HTuple read_mixed(Reader& in, ReadParts& parts) {
  const std::size_t count = in.count(least_element);
  charge_memory(count * sizeof(HTuple));
  std::vector<HTuple> elements(count);
  for (HTuple& element : elements) element = read_element(in, in.value<Tag>(), parts);
  return Access::elements(std::move(elements));
}

}  // namespace

void write_tuple(Writer& out, const HTuple& tuple, std::uint64_t& next_part) {
  if (Access::kind(tuple) != TupleKind::Array) return write_element(out, tuple, next_part);
  const ArrayData& array = Access::array(tuple);
  switch (array.kind) {
    case ArrayKind::Integers:
      return write_array<Hlong>(out, Tag::Integers, array);
    case ArrayKind::Integers32:
      return write_array<std::int32_t>(out, Tag::Integers32, array);
    case ArrayKind::Reals:
      return write_array<double>(out, Tag::Reals, array);
    case ArrayKind::Strings:
      return write_texts(out, array);
    case ArrayKind::Constant:
      return write_constant(out, tuple, next_part);
    default:
      return write_mixed(out, tuple, next_part);
  }
}

void write_plain_tuple(Writer& out, const HTuple& tuple) {
  std::uint64_t none = 0;
  write_tuple(out, tuple, none);
}

HTuple read_tuple(Reader& in, Tag tag, ReadParts& parts) {
  switch (tag) {
    case Tag::Empty:
      return {};
    case Tag::Integers:
      return Access::integers(in.array<Hlong>(in.count(sizeof(Hlong))));
    case Tag::Integers32:
      return read_integers32(in);
    case Tag::Reals:
      return Access::reals(in.array<double>(in.count(sizeof(double))));
    case Tag::Strings:
      return read_texts(in);
    case Tag::Mixed:
      return read_mixed(in, parts);
    default:
      return read_element(in, tag, parts);
  }
}

HTuple read_plain_tuple(Reader& in) {
  ReadParts none;
  return read_tuple(in, in.value<Tag>(), none);
}

}  // namespace HalconCpp::detail::container
