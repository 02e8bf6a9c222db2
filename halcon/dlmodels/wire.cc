#include "dlmodels/wire.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace HalconCpp::detail {

void WireReader::fill_window() {
  const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(next_window_, file_.left()));
  file_.read(window_.data(), count);
  at_ = window_.data();
  window_end_ = at_ + count;
  next_window_ = std::min(2 * next_window_, max_window);
}

// Bits beyond the 64th are dropped, as protobuf does.
std::uint64_t WireReader::varint(int max_bytes) {
  std::uint64_t value = 0;
  for (int i = 0; i < max_bytes; ++i) {
    const std::uint64_t next = byte();
    value |= (next & 127) << (7 * i);
    if (next < 128) return value;
  }
  throw MalformedMessage();
}

Field WireReader::next_field() {
  const auto tag = static_cast<std::uint32_t>(varint(max_short_));
  const Field field{tag >> 3, static_cast<WireType>(tag & 7)};
  if (field.number == 0 || field.type > WireType::Fixed32) throw MalformedMessage();
  return field;
}

std::size_t WireReader::length() {
  const auto bytes = static_cast<std::uint32_t>(varint(max_short_));
  if (bytes > end_ - position()) throw MalformedMessage();
  return bytes;
}

std::string WireReader::text(std::size_t length) {
  std::string text(length, '\0');
  for (std::size_t done = 0; done < length;) {
    if (at_ == window_end_) fill_window();
    const std::size_t count = std::min(length - done, left_in_window());
    std::memcpy(text.data() + done, at_, count);
    at_ += count;
    done += count;
  }
  return text;
}

void WireReader::skip_bytes(std::uint64_t count) {
  if (count > end_ - position()) throw MalformedMessage();
  if (count <= left_in_window()) {
    at_ += count;
    return;
  }
  file_.seek(position() + count);
  at_ = window_end_;
  next_window_ = min_window;
}

void WireReader::skip(Field field) {
  if (field.type == WireType::GroupStart)
    skip_group(field.number);
  else
    skip_value(field);
}

void WireReader::skip_value(Field field) {
  switch (field.type) {
    case WireType::Varint:
      varint();
      break;
    case WireType::Fixed64:
      skip_bytes(8);
      break;
    case WireType::Bytes:
      skip_bytes(length());
      break;
    case WireType::Fixed32:
      skip_bytes(4);
      break;
    default:
      throw MalformedMessage();
  }
}

void WireReader::skip_group(std::uint32_t number) {
  std::vector<std::uint32_t> open{number};
  descend();
  while (!open.empty()) {
    const Field field = next_field();
    if (field.type == WireType::GroupStart) {
      descend();
      open.push_back(field.number);
    } else if (field.type == WireType::GroupEnd) {
      if (field.number != open.back()) throw MalformedMessage();
      open.pop_back();
      ++levels_;
    } else {
      skip_value(field);
    }
  }
}

void WireReader::descend() {
  if (levels_ == 0) throw MalformedMessage();
  --levels_;
}

std::uint64_t WireReader::enter_bytes() {
  const std::size_t bytes = length();
  return std::exchange(end_, position() + bytes);
}

std::uint64_t WireReader::enter() {
  descend();
  return enter_bytes();
}

void WireReader::leave(std::uint64_t outer) noexcept {
  end_ = outer;
  ++levels_;
}

// Here tags and lengths may have as many bytes as numbers: they tell files that are cut off from damaged ones.
bool WireReader::outer_fields_fill_file() try {
  file_.seek(0);
  at_ = window_end_;
  end_ = file_.size();
  levels_ = nesting_;
  max_short_ = max_varint;
  fields([](Field) { return false; });
  return true;
} catch (const MalformedMessage&) {
  return false;
}

}  // namespace HalconCpp::detail
