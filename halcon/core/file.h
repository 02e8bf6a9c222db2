// Files, named in UTF-8. Every failure is a Failure whose reason can follow the quoted name ("'a.png': no such file").
#ifndef HALCONCPP_CORE_FILE_H
#define HALCONCPP_CORE_FILE_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "core/buffer.h"

namespace HalconCpp::detail {

// The path as it is; on Windows with backslashes only, since paths of the form that may be long ("\\?\") take nothing
// else.
std::filesystem::path native_path(std::string_view utf8);
// The text after the last '.' of the last component, folded to lower case (ASCII); empty when there is none.
std::string extension_of(std::string_view path);

// A regular file open for reading. Folders, pipes and devices are rejected and never waited for.
class InputFile {
 public:
  explicit InputFile(std::string_view path);
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  std::uint64_t size() const noexcept { return size_; }
  // Differs when the file was changed in between (to the second on Windows).
  struct Version {
    std::uint64_t size = 0;
    std::int64_t changed_at = 0;
    bool operator==(const Version&) const = default;
  };
  Version version() const noexcept { return {size_, changed_at_}; }
  std::uint64_t position() const noexcept { return position_; }
  // The bytes after the position, by the size that the file had when it was opened.
  std::uint64_t left() const noexcept { return size_ - position_; }
  // Sets the position, at most the size.
  void seek(std::uint64_t position);
  // Reads exactly that many bytes; fails when the file ends before.
  void read(void* to, std::size_t bytes);
  Buffer<std::byte> read_all();  // that are left

 private:
  InputFile() = default;

  int descriptor_ = -1;
  std::uint64_t size_ = 0;
  std::int64_t changed_at_ = 0;
  std::uint64_t position_ = 0;
};

Buffer<std::byte> read_file(std::string_view path);

// A file being written. Until `commit` the bytes go to a new file beside the target, so that a failure leaves the
// target as it was. That file is made anew, never opened: nobody can have prepared a link under its name. A link stays
// one, other names of a file (hard links) keep what it was, a protected file is rejected. A target that exists and is
// no regular file (a device, a pipe) is written directly; a pipe waits for its reader.
class OutputFile {
 public:
  explicit OutputFile(std::string_view path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void write(const void* from, std::size_t bytes);
  void write(std::string_view text) { write(text.data(), text.size()); }
  // Flushes, checks for errors and renames the new file to the target.
  void commit();

 private:
  OutputFile() = default;

  std::filesystem::path target_;
  std::filesystem::path written_;  // equals target_ when written directly
  struct Close {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, Close> file_;
  bool committed_ = false;
};

}  // namespace HalconCpp::detail

#endif
