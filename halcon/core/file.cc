#include "core/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <new>
#include <random>
#include <string>
#include <system_error>

#include "core/failure.h"

namespace HalconCpp::detail {

namespace fs = std::filesystem;

namespace {

std::string system_reason(int error) {
  return error ? std::generic_category().message(error) : std::string("the system gives no reason");
}

#if defined(_WIN32)

using Status = struct _stat64;

int open_to_read(const fs::path& name) noexcept { return _wopen(name.c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT); }
bool read_status(int file, Status& status) noexcept { return _fstat64(file, &status) == 0; }
std::ptrdiff_t read_some(int file, void* to, std::size_t bytes) noexcept {
  return _read(file, to, static_cast<unsigned>(bytes));
}
bool set_position(int file, std::uint64_t position) noexcept {
  return _lseeki64(file, static_cast<std::int64_t>(position), SEEK_SET) >= 0;
}
void close_file(int file) noexcept { _close(file); }
int open_to_write(const fs::path& name, bool is_new) noexcept {
  const int flags = _O_WRONLY | _O_BINARY | _O_NOINHERIT | (is_new ? _O_CREAT | _O_EXCL : _O_TRUNC);
  return _wopen(name.c_str(), flags, _S_IREAD | _S_IWRITE);
}
std::FILE* stream_of(int file) noexcept { return _fdopen(file, "wb"); }
bool is_regular(const Status& status) noexcept { return (status.st_mode & _S_IFMT) == _S_IFREG; }
std::int64_t time_of_change(const Status& status) noexcept { return status.st_mtime; }

#else

using Status = struct stat;

// O_NONBLOCK: opening a pipe waits for its other end. A check before cannot help, as the file may be replaced in
// between.
int open_to_read(const fs::path& name) noexcept { return ::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); }
bool read_status(int file, Status& status) noexcept { return ::fstat(file, &status) == 0; }
std::ptrdiff_t read_some(int file, void* to, std::size_t bytes) noexcept {
  ssize_t count;
  do count = ::read(file, to, bytes);
  while (count < 0 && errno == EINTR);
  return count;
}
bool set_position(int file, std::uint64_t position) noexcept {
  return ::lseek(file, static_cast<off_t>(position), SEEK_SET) >= 0;
}
void close_file(int file) noexcept { ::close(file); }
// A pipe that nobody reads is an error (ENXIO), not a wait without end; writing waits for the reader as usual.
int open_to_write(const fs::path& name, bool is_new) noexcept {
  const int flags = is_new ? O_CREAT | O_EXCL : O_TRUNC | O_NONBLOCK;
  const int file = ::open(name.c_str(), O_WRONLY | O_CLOEXEC | flags, 0666);
  if (file >= 0 && !is_new) ::fcntl(file, F_SETFL, 0);
  return file;
}
std::FILE* stream_of(int file) noexcept { return ::fdopen(file, "wb"); }
bool is_regular(const Status& status) noexcept { return S_ISREG(status.st_mode); }
std::int64_t time_of_change(const Status& status) noexcept {
  return std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec;
}

#endif

constexpr bool backslash_separates = fs::path::preferred_separator == '\\';

// Callers convert names to UTF-8, where U+FFFD stands for what could not be converted.
bool has_replacement(std::string_view path) noexcept { return path.find("\xEF\xBF\xBD") != path.npos; }

[[noreturn]] void reject_kind(const fs::path& name) {
  std::error_code error;
  fail(fs::is_directory(name, error) ? "is a folder, not a file" : "is not a regular file");
}

[[noreturn]] void fail_to_open(const fs::path& name, int reason) {
  std::error_code error;
  if (reason == ENXIO || fs::is_directory(name, error)) reject_kind(name);  // ENXIO: a socket
  if (reason != ENOENT && reason != ENOTDIR) fail("cannot be opened: " + system_reason(reason));
  if (!has_replacement(name.string())) fail("no such file");
  fail("no such file; the name holds U+FFFD, and a file whose name is not UTF-8 cannot be opened");
}

// An unused name in the folder of the target. It is not made from the target's name, which may be as long as names can
// be. It is random, so that no other writer uses it and nobody can have prepared a link there.
fs::path unused_name_beside(const fs::path& target) {
  std::random_device random;
  char digits[40];
  std::snprintf(digits, sizeof digits, "%08x%08x.part", static_cast<unsigned>(random()),
                static_cast<unsigned>(random()));
  return target.parent_path() / digits;
}

// The file, existing or not, that a link leads to. Writing there leaves the link in place.
fs::path follow_links(fs::path path) {
  constexpr int max_links = 40;  // as many as Linux follows
  std::error_code error;
  for (int links = 0; links <= max_links; ++links) {
    if (!fs::is_symlink(fs::symlink_status(path, error))) return path;
    const fs::path next = fs::read_symlink(path, error);
    if (error) fail("is a link that cannot be followed: " + error.message());
    path = path.parent_path() / next;
  }
  fail("is a link that leads to itself");
}

// Renaming needs no permission on the file that it replaces, but whoever took that permission away meant to keep it.
void require_writable(const fs::path& file) {
  errno = 0;
  if (!std::fstream(file, std::ios::in | std::ios::out | std::ios::binary))
    fail("cannot be written: " + system_reason(errno));
}

}  // namespace

fs::path native_path(std::string_view utf8) {
  std::u8string text(utf8.begin(), utf8.end());
  if (backslash_separates) std::replace(text.begin(), text.end(), u8'/', u8'\\');
  return fs::path(text);
}

std::string extension_of(std::string_view path) {
  const auto dot = path.find_last_of(backslash_separates ? "./\\" : "./");
  if (dot == std::string_view::npos || path[dot] != '.') return {};
  std::string extension(path.substr(dot + 1));
  for (char& c : extension)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return extension;
}

// Delegates, so that the destructor closes the file when a check fails.
InputFile::InputFile(std::string_view path) : InputFile() {
  const fs::path name = native_path(path);
  descriptor_ = open_to_read(name);
  if (descriptor_ < 0) fail_to_open(name, errno);
  Status status;
  if (!read_status(descriptor_, status)) fail("its size cannot be read: " + system_reason(errno));
  if (!is_regular(status)) reject_kind(name);
  size_ = static_cast<std::uint64_t>(status.st_size);
  changed_at_ = time_of_change(status);
}

InputFile::~InputFile() {
  if (descriptor_ >= 0) close_file(descriptor_);
}

void InputFile::read(void* to, std::size_t bytes) {
  if (bytes > left()) fail("the file ends too early");
  constexpr std::size_t max_read = std::size_t{1} << 30;  // what every system reads in one call
  auto* at = static_cast<std::byte*>(to);
  for (std::size_t left = bytes; left > 0;) {
    const std::ptrdiff_t count = read_some(descriptor_, at, std::min(left, max_read));
    if (count <= 0) fail("the file could not be read to its end" + (count < 0 ? ": " + system_reason(errno) : ""));
    at += count;
    left -= static_cast<std::size_t>(count);
  }
  position_ += bytes;
}

void InputFile::seek(std::uint64_t position) {
  if (position > size_) fail("the file ends too early");
  if (!set_position(descriptor_, position)) fail("the file could not be read to its end: " + system_reason(errno));
  position_ = position;
}

Buffer<std::byte> InputFile::read_all() {
  Buffer<std::byte> content(static_cast<std::size_t>(left()));
  read(content.data(), content.size());
  return content;
}

Buffer<std::byte> read_file(std::string_view path) { return InputFile(path).read_all(); }

// Delegates, so that the destructor removes the new file when memory runs out after it was made.
OutputFile::OutputFile(std::string_view path) : OutputFile() {
  target_ = written_ = follow_links(native_path(path));
  std::error_code error;
  const fs::file_status status = fs::status(target_, error);
  if (target_.empty() || !target_.has_filename()) fail("is not a file name");
  if (status.type() == fs::file_type::directory) fail("is a folder, not a file");
  const fs::path folder = target_.parent_path();
  if (!folder.empty() && !fs::is_directory(folder, error))
    fail(fs::exists(folder, error) ? "what should be its folder is a file" : "its folder does not exist");
  const bool is_there = fs::exists(status), direct = is_there && status.type() != fs::file_type::regular;
  if (is_there && !direct) require_writable(target_);
  written_ = direct ? target_ : unused_name_beside(target_);
  const int descriptor = open_to_write(written_, !direct);
  if (descriptor < 0) {
    const int reason = errno;
    written_ = target_;  // no new file was made that would have to be removed
    fail("cannot be written: " + system_reason(reason));
  }
  file_.reset(stream_of(descriptor));
  if (!file_) {
    close_file(descriptor);
    throw std::bad_alloc();
  }
  if (is_there && !direct) fs::permissions(written_, status.permissions(), error);
}

OutputFile::~OutputFile() {
  if (committed_ || written_ == target_) return;
  file_.reset();
  std::error_code error;
  fs::remove(written_, error);
}

void OutputFile::write(const void* from, std::size_t bytes) {
  errno = 0;
  if (bytes > 0 && std::fwrite(from, 1, bytes, file_.get()) != bytes)
    fail("could not be written: " + system_reason(errno));
}

void OutputFile::commit() {
  errno = 0;
  if (std::fclose(file_.release()) != 0) fail("could not be written: " + system_reason(errno));
  if (written_ != target_) {
    std::error_code error;
    fs::rename(written_, target_, error);
    if (error) fail("could not be renamed to its final name: " + error.message());
  }
  committed_ = true;
}

}  // namespace HalconCpp::detail
