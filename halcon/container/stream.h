// Reads and writes the bytes of a container through a buffer, and computes its checksum on the way.
#ifndef HALCONCPP_CONTAINER_STREAM_H
#define HALCONCPP_CONTAINER_STREAM_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "container/format.h"
#include "core/buffer.h"
#include "core/file.h"

namespace HalconCpp::detail::container {

// Every member fails when the file ends too early.
class Reader {
 public:
  explicit Reader(std::string_view path);

  // The bytes that have not been read, without the checksum at the end.
  std::uint64_t left() const noexcept { return file_.left() - sizeof(std::uint64_t) + (end_ - at_); }
  void read(void* to, std::size_t bytes);
  // Fills a vector or buffer of the final size.
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
  // A count of elements that take at least `bytes_each` bytes; fails when the file cannot hold so many.
  std::size_t count(std::size_t bytes_each);
  template <class T>
  Buffer<T> array(std::size_t size) {
    Buffer<T> values(size);
    fill(values);
    return values;
  }
  // Fails when bytes are left over, or the checksum is wrong.
  void finish();

 private:
  void read_piece(std::byte* to, std::size_t bytes);

  InputFile file_;
  Buffer<std::byte> buffer_;
  std::size_t at_ = 0, end_ = 0;  // the bytes of the buffer that have not been read
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
  // Appends the checksum and gives the file its name.
  void finish();

 private:
  void write_piece(const std::byte* from, std::size_t bytes);

  OutputFile file_;
  Buffer<std::byte> buffer_;
  std::size_t used_ = 0;
  Checksum checksum_;
};

}  // namespace HalconCpp::detail::container

#endif
