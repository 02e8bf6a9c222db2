// The bytes of a container, read and written through a buffer and summed up on the way.
#ifndef HALCONCPP_CONTAINER_STREAM_H
#define HALCONCPP_CONTAINER_STREAM_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "container/format.h"
#include "core/buffer.h"
#include "core/file.h"

namespace HalconCpp::detail::container {

class Reader {
 public:
  // The file's checksum is at its end and no part of what is read.
  explicit Reader(std::string_view path);

  std::uint64_t left() const noexcept { return file_.left() - sizeof(std::uint64_t) + (end_ - at_); }
  void read(void* to, std::size_t bytes);
  // Into a block that has its size already.
  template <class Block>
  void fill(Block& block) {
    read(block.data(), block.size() * sizeof(*block.data()));
  }
  template <class T>
  T value() {
    T result;
    read(&result, sizeof result);
    return result;
  }
  // A count of things that take `bytes_each` bytes at least; rejects one that the file cannot hold.
  std::size_t count(std::size_t bytes_each);
  template <class T>
  Buffer<T> array(std::size_t size) {
    Buffer<T> values(size);
    fill(values);
    return values;
  }
  // Rejects bytes that nobody asked for, and a file whose checksum is another one.
  void finish();

 private:
  void refill();
  void read_directly(std::byte* to, std::size_t bytes);

  InputFile file_;
  Buffer<std::byte> buffer_;
  std::size_t at_ = 0, end_ = 0;  // of the bytes in the buffer that are still to be read
  Checksum checksum_;
};

class Writer {
 public:
  explicit Writer(std::string_view path);

  void write(const void* from, std::size_t bytes);
  template <class T>
  void value(const T& value) {
    write(&value, sizeof value);
  }
  void count(std::size_t number) { value(static_cast<std::uint64_t>(number)); }
  template <class Block>
  void values(const Block& block) {
    write(block.data(), block.size() * sizeof(*block.data()));
  }
  void finish();

 private:
  void write_out(const std::byte* from, std::size_t bytes);

  OutputFile file_;
  Buffer<std::byte> buffer_;
  std::size_t used_ = 0;
  Checksum checksum_;
};

}  // namespace HalconCpp::detail::container

#endif
