// Files: opened by UTF-8 names of any language; every failure is a Failure whose reason can follow the quoted name.
#ifndef HALCONCPP_CORE_FILE_H
#define HALCONCPP_CORE_FILE_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "core/buffer.h"

namespace HalconCpp::detail {

// A backslash separates components like '/' does, on every system. Windows gets backslashes only: it takes nothing else
// in paths of the form that may be long.
std::filesystem::path native_path(std::string_view utf8);
// The text after the last '.' of the last component, folded to lower case (ASCII); empty when there is none.
std::string extension_of(std::string_view path);

// A regular file open for reading.
class InputFile {
 public:
  explicit InputFile(std::string_view path);

  std::uint64_t size() const noexcept { return size_; }
  // What has not been read yet, by the size that the file had when it was opened.
  std::uint64_t left() const noexcept { return size_ - position_; }
  // Reads exactly that many bytes; rejects when the file ends before.
  void read(void* to, std::size_t bytes);
  // Everything that is left.
  Buffer<std::byte> read_all();

 private:
  std::ifstream stream_;
  std::uint64_t size_ = 0;
  std::uint64_t position_ = 0;
};

Buffer<std::byte> read_file(std::string_view path);

// A file being written. Until `commit` the bytes go to a new file beside the target, so that a failure leaves the
// target as it was. A link stays one, other names of a file (hard links) keep what it was, a protected file is
// rejected. A target that exists and is no regular file (a device, a pipe) is written directly; a pipe waits for its
// reader.
class OutputFile {
 public:
  explicit OutputFile(std::string_view path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void write(const void* from, std::size_t bytes);
  void write(std::string_view text) { write(text.data(), text.size()); }
  // Flushes, checks and moves the file to its place.
  void commit();

 private:
  OutputFile() = default;

  std::filesystem::path target_;
  std::filesystem::path written_;  // equals target_ when written directly
  std::ofstream stream_;
  bool committed_ = false;
};

}  // namespace HalconCpp::detail

#endif
