#include <atomic>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "HalconCpp.h"
#include "core/failure.h"
#include "core/string_blocks.h"
#include "core/string_data.h"
#include "unicode.h"

namespace HalconCpp {

namespace detail {

const StringData* new_valid_string(std::string_view utf8) {
  if (const auto nul = utf8.find('\0'); nul != std::string_view::npos) utf8 = utf8.substr(0, nul);
  if (utf8.empty()) return nullptr;
  if (utf8.size() >= std::numeric_limits<std::uint32_t>::max()) throw std::bad_alloc();
  return write_string(::operator new(sizeof(StringData) + utf8.size() + 1), utf8, 0);
}

const StringData* write_string(void* memory, std::string_view utf8, std::uint32_t kind) noexcept {
  auto* data = new (memory) StringData;
  data->references.store(kind | 1, std::memory_order_relaxed);
  data->length = static_cast<std::uint32_t>(utf8.size());
  std::memcpy(data->text(), utf8.data(), utf8.size());
  data->text()[utf8.size()] = '\0';
  return data;
}

const StringData* new_string(std::string_view narrow) {
  if (unicode::is_utf8(narrow)) return new_valid_string(narrow);
  std::string utf8;
  for (const char latin1 : narrow) unicode::append_utf8(utf8, static_cast<unsigned char>(latin1));
  return new_valid_string(utf8);
}

const StringData* new_permanent_string(std::string_view utf8) {
  const StringData* data = new_valid_string(utf8);
  data->references.store(StringData::permanent, std::memory_order_relaxed);
  return data;
}

static bool is_permanent(const StringData& data) noexcept {
  return (data.references.load(std::memory_order_relaxed) & StringData::permanent) != 0;
}

void retain(const StringData* data) noexcept {
  if (data && !is_permanent(*data)) data->references.fetch_add(1, std::memory_order_relaxed);
}

void release(const StringData* data) noexcept {
  if (!data) return;
  constexpr std::uint32_t count = StringData::in_block - 1;
  // Nobody else can reach the only reference, which is therefore released without an atomic decrement.
  const std::uint32_t references = data->references.load(std::memory_order_acquire);
  if ((references & StringData::permanent) != 0) return;
  if ((references & count) != 1 && (data->references.fetch_sub(1, std::memory_order_acq_rel) & count) != 1) return;
  delete[] data->wide.load(std::memory_order_relaxed);
  data->~StringData();
  if ((references & StringData::in_block) != 0) return leave_block(data);
  ::operator delete(const_cast<StringData*>(data));
}

namespace {

// Two threads may both make the wide text; the first to publish it wins.
const wchar_t* make_wide(const StringData& data) {
  const std::string_view text = text_of(&data);
  auto made = std::make_unique_for_overwrite<wchar_t[]>(text.size() + 1);
  made[unicode::to_units(text, made.get())] = L'\0';
  const wchar_t* expected = nullptr;
  if (data.wide.compare_exchange_strong(expected, made.get(), std::memory_order_acq_rel)) return made.release();
  return expected;
}

}  // namespace
}  // namespace detail

HString::HString(const char* narrow)
    : data_(detail::operate("HString", [&] { return narrow ? detail::new_string(narrow) : nullptr; })) {}

HString::HString(const wchar_t* wide)
    : data_(detail::operate("HString", [&] {
        return wide ? detail::new_valid_string(unicode::to_utf8(std::wstring_view(wide))) : nullptr;
      })) {}

HString::HString(const HString& other) noexcept : data_(other.data_) { detail::retain(data_); }

HString& HString::operator=(const HString& other) noexcept {
  detail::retain(other.data_);
  detail::release(data_);
  data_ = other.data_;
  return *this;
}

HString& HString::operator=(HString&& other) noexcept {
  std::swap(data_, other.data_);
  return *this;
}

HString::~HString() { detail::release(data_); }

const char* HString::Text() const {
  detail::pass_gate("HString::Text");
  return data_ ? data_->text() : "";
}

const wchar_t* HString::TextW() const {
  return detail::operate("HString::TextW", [&]() -> const wchar_t* {
    if (!data_) return L"";
    const wchar_t* wide = data_->wide.load(std::memory_order_acquire);
    return wide ? wide : detail::make_wide(*data_);
  });
}

}  // namespace HalconCpp
