#include "core/file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
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

// Rejects what cannot be read as a file: nothing there, a folder, a device.
void require_regular_file(const fs::path& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (status.type() == fs::file_type::not_found) fail("no such file");
  if (error) fail(error.message());
  if (status.type() == fs::file_type::directory) fail("is a folder, not a file");
  if (status.type() != fs::file_type::regular) fail("is no regular file");
}

// A name beside the target that nothing has yet: of its own length, as the target's may be the longest possible, and
// drawn by chance, so that no other writer has the same and nobody can have laid a link there.
fs::path unused_neighbour(const fs::path& target) {
  std::random_device random;
  char digits[40];
  std::snprintf(digits, sizeof digits, "%08x%08x.part", static_cast<unsigned>(random()),
                static_cast<unsigned>(random()));
  return target.parent_path() / digits;
}

// Where the bytes end up: the file behind a link, there already or not, so that the link stays one.
fs::path behind_links(fs::path path) {
  constexpr int most_links = 40;  // as many as Linux follows
  std::error_code error;
  for (int links = 0; links <= most_links; ++links) {
    if (!fs::is_symlink(fs::symlink_status(path, error))) return path;
    const fs::path next = fs::read_symlink(path, error);
    if (error) fail("is a link that cannot be followed: " + error.message());
    path = path.parent_path() / next;
  }
  fail("is a link that leads to itself");
}

// Replacing a file asks no permission of the file; whoever protects it wants to be asked.
void require_writable(const fs::path& file) {
  errno = 0;
  if (!std::fstream(file, std::ios::in | std::ios::out | std::ios::binary))
    fail("cannot be written: " + system_reason(errno));
}

}  // namespace

fs::path native_path(std::string_view utf8) {
  constexpr bool is_slash = fs::path::preferred_separator == '/';
  std::u8string text(utf8.begin(), utf8.end());
  std::replace(text.begin(), text.end(), is_slash ? u8'\\' : u8'/', is_slash ? u8'/' : u8'\\');
  return fs::path(text);
}

std::string extension_of(std::string_view path) {
  const auto dot = path.find_last_of("./\\");
  if (dot == std::string_view::npos || path[dot] != '.') return {};
  std::string extension(path.substr(dot + 1));
  for (char& c : extension)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return extension;
}

InputFile::InputFile(std::string_view path) {
  const fs::path name = native_path(path);
  require_regular_file(name);
  errno = 0;
  stream_.rdbuf()->pubsetbuf(nullptr, 0);
  stream_.open(name, std::ios::binary);
  if (!stream_) fail("cannot be opened: " + system_reason(errno));
  stream_.seekg(0, std::ios::end);
  const std::streamoff end = stream_.tellg();
  stream_.seekg(0);
  if (end < 0 || !stream_) fail("its size cannot be read");
  size_ = static_cast<std::uint64_t>(end);
}

void InputFile::read(void* to, std::size_t bytes) {
  if (bytes > left()) fail("the file ends too early");
  stream_.read(static_cast<char*>(to), static_cast<std::streamsize>(bytes));
  if (static_cast<std::size_t>(stream_.gcount()) != bytes) fail("the file could not be read to its end");
  position_ += bytes;
}

Buffer<std::byte> InputFile::read_all() {
  Buffer<std::byte> content(static_cast<std::size_t>(left()));
  read(content.data(), content.size());
  return content;
}

Buffer<std::byte> read_file(std::string_view path) { return InputFile(path).read_all(); }

// Delegates, so that the destructor tidies up when opening runs out of memory half-way.
OutputFile::OutputFile(std::string_view path) : OutputFile() {
  target_ = written_ = behind_links(native_path(path));
  std::error_code error;
  const fs::file_status status = fs::status(target_, error);
  if (target_.empty() || !target_.has_filename()) fail("is no file name");
  if (status.type() == fs::file_type::directory) fail("is a folder, not a file");
  const fs::path folder = target_.parent_path();
  if (!folder.empty() && !fs::is_directory(folder, error))
    fail(fs::exists(folder, error) ? "what should be its folder is a file" : "its folder does not exist");
  const bool is_there = fs::exists(status), direct = is_there && status.type() != fs::file_type::regular;
  if (is_there && !direct) require_writable(target_);
  written_ = direct ? target_ : unused_neighbour(target_);
  errno = 0;
  stream_.open(written_, std::ios::binary | std::ios::trunc);
  if (!stream_) {
    const int reason = errno;
    written_ = target_;  // nothing of ours is there to be removed
    fail("cannot be written: " + system_reason(reason));
  }
  if (is_there && !direct) fs::permissions(written_, status.permissions(), error);
}

OutputFile::~OutputFile() {
  if (committed_ || written_ == target_) return;
  stream_.close();
  std::error_code error;
  fs::remove(written_, error);
}

void OutputFile::write(const void* from, std::size_t bytes) {
  errno = 0;
  stream_.write(static_cast<const char*>(from), static_cast<std::streamsize>(bytes));
  if (!stream_) fail("could not be written: " + system_reason(errno));
}

void OutputFile::commit() {
  errno = 0;
  stream_.close();
  if (!stream_) fail("could not be written: " + system_reason(errno));
  if (written_ != target_) {
    std::error_code error;
    fs::rename(written_, target_, error);
    if (error) fail("could not be put in its place: " + error.message());
  }
  committed_ = true;
}

}  // namespace HalconCpp::detail
