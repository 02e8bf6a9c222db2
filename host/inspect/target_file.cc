#include "target_file.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <mutex>
#include <random>
#include <system_error>
#include <thread>

#include "files.h"
#include "platform/interrupts.h"
#include "platform/new_file.h"
#include "session.h"

namespace host {

namespace {

namespace fs = std::filesystem;

std::string system_reason(int error) {
  return error ? std::generic_category().message(error) : std::string("the system gives no reason");
}

// ---- The folder of the unfinished file. The program has at most one at a time.

// Never destroyed: an interrupt may come while the program ends.
std::mutex& unfinished_mutex() {
  static auto* const mutex = new std::mutex;
  return *mutex;
}
fs::path& unfinished_folder() {
  static auto* const folder = new fs::path;
  return *folder;
}

// The mutex stays locked, so that the interrupted thread can neither move the file nor report a failure. It goes on
// writing until the program ends, so a file may appear again, and on Windows an open file cannot be removed: hence the
// loop.
void remove_unfinished_folder() {
  unfinished_mutex().lock();
  std::error_code error;
  while (!unfinished_folder().empty() && fs::exists(unfinished_folder(), error)) {
    fs::remove_all(unfinished_folder(), error);
    if (error) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

class UnfinishedFolder {
 public:
  // Throws std::system_error. The name is random, so that other runs of the program use another.
  explicit UnfinishedFolder(const fs::path& beside) {
    std::random_device random;
    char name[40];
    const std::lock_guard lock(unfinished_mutex());
    do {
      std::snprintf(name, sizeof name, "qv_inspect-%08x%08x", static_cast<unsigned>(random()),
                    static_cast<unsigned>(random()));
      path_ = beside / name;
      if (quovel::create_private_folder(path_)) break;
      if (errno != EEXIST) throw std::system_error(errno, std::generic_category());
    } while (true);
    unfinished_folder() = path_;
  }
  ~UnfinishedFolder() {
    const std::lock_guard lock(unfinished_mutex());
    std::error_code error;
    fs::remove_all(path_, error);
    unfinished_folder().clear();
  }
  UnfinishedFolder(const UnfinishedFolder&) = delete;
  UnfinishedFolder& operator=(const UnfinishedFolder&) = delete;

  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

// ---- Writing

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// These return errno, or 0.
int write_new_file(const fs::path& path, std::string_view content) {
  errno = 0;
  std::unique_ptr<std::FILE, CloseFile> file(quovel::create_file(path));
  if (!file) return errno ? errno : EIO;
  const bool written = std::fwrite(content.data(), 1, content.size(), file.get()) == content.size();
  const int write_error = errno;
  errno = 0;
  const bool closed = std::fclose(file.release()) == 0;
  if (!written) return write_error ? write_error : EIO;
  return closed ? 0 : errno ? errno : EIO;
}

int write_device(const fs::path& path, std::string_view content) {
  errno = 0;
  std::ofstream device(path, std::ios::binary);
  device.write(content.data(), static_cast<std::streamsize>(content.size()));
  device.close();
  return device ? 0 : errno ? errno : EIO;
}

bool begins_with(const fs::path& path, std::string_view prefix) {
  std::string begin(prefix.size(), '\0');
  std::ifstream file(path, std::ios::binary);
  return !prefix.empty() && file.read(begin.data(), static_cast<std::streamsize>(begin.size())) && begin == prefix;
}

bool is_write_protected(const fs::file_status& status) {
  constexpr fs::perms may_write = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
  return (status.permissions() & may_write) == fs::perms::none;
}

}  // namespace

TargetFile::TargetFile(const std::string& path, const std::vector<std::string>& inputs, const Replacing& replacing)
    : name_(path), target_(native_path(path)) {
  std::error_code error;
  const fs::file_status status = fs::status(target_, error);
  exists_ = fs::exists(status);
  is_device_ = exists_ && !fs::is_regular_file(status);
  if (fs::is_directory(status)) fail("it is a folder");
  if (!target_.has_filename()) fail("it is not a file name");
  if (is_device_) return;
  if (fs::is_symlink(fs::symlink_status(target_, error))) {
    if (!exists_) fail("it is a link that leads to no file");  // somebody else may have put the link there
    target_ = fs::canonical(target_, error);
    if (error) fail(error.message());
  }
  if (exists_) check_existing(inputs, replacing);
}

void TargetFile::check_existing(const std::vector<std::string>& inputs, const Replacing& replacing) const {
  std::error_code error;
  for (const std::string& input : inputs)
    if (fs::equivalent(target_, native_path(input), error)) fail("it is the input file '" + input + "'");
  if (!replacing.any && !begins_with(target_, replacing.own_prefix)) fail("the file exists; --force replaces it");
  if (is_write_protected(fs::status(target_, error))) fail("it is write-protected");
}

void TargetFile::fail(const std::string& reason) const {
  throw Failure("'" + name_ + "' could not be written: " + reason);
}

void TargetFile::write(std::string_view content) const {
  save([&](const std::string& path) {
    const int error = is_device_ ? write_device(target_, content) : write_new_file(native_path(path), content);
    if (error) fail(system_reason(error));
  });
}

void TargetFile::save(const std::function<void(const std::string&)>& save) const {
  if (is_device_) return save(name_);
  try {
    const UnfinishedFolder folder(target_.parent_path());
    const std::string name = file_name(to_utf8(target_));
    const fs::path file = folder.path() / native_path("new" + name.substr(std::min(name.rfind('.'), name.size())));
    const std::string path = to_utf8(file);
    try {
      save(path);
    } catch (const Failure& failure) {
      std::string message = failure.what();
      if (const std::size_t at = message.find(path); at != message.npos) message.replace(at, path.size(), name_);
      throw Failure(message);
    }
    publish(file);
  } catch (const std::system_error& error) {
    fail(error.code().message());
  }
}

// Where no file was, a hard link is made, because renaming would replace a file created in the meantime. File systems
// without hard links get the rename.
void TargetFile::publish(const fs::path& complete) const {
  const std::lock_guard lock(unfinished_mutex());
  std::error_code error;
  if (!exists_) {
    fs::create_hard_link(complete, target_, error);
    if (!error) return;
    if (fs::exists(fs::symlink_status(target_, error))) fail("a file of that name was created in the meantime");
  } else {
    fs::permissions(complete, fs::status(target_, error).permissions(), error);
  }
  fs::rename(complete, target_);
}

void with_temporary_file(const std::string& extension, const std::function<void(const std::string&)>& use) try {
  const UnfinishedFolder folder(fs::temp_directory_path());
  use(to_utf8(folder.path() / native_path("file" + extension)));
} catch (const std::system_error& error) {
  throw Failure("no temporary file could be made: " + error.code().message());
}

void remove_unfinished_files_when_interrupted() { quovel::clean_up_when_interrupted(remove_unfinished_folder); }

}  // namespace host
