// A C++ view of the library: a Reader with one open file, texts as UTF-8, errors as exceptions.
#ifndef QUOVEL_HOST_SESSION_H
#define QUOVEL_HOST_SESSION_H

#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "quovel_adapter_2411/quovel_adapter.h"

namespace host {

// An error for the user; the program then ends with exit code 1.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Half a surrogate pair becomes U+FFFD.
std::string to_utf8(const qv_char* text);
void append_utf8(std::string& result, const qv_char* text);
// The character at `text`, which is not at its end; moves `text` past it.
char32_t next_character(const qv_char*& text);
std::u16string to_utf16(std::string_view utf8);
inline const qv_char* units(const std::u16string& text) { return reinterpret_cast<const qv_char*>(text.c_str()); }

// "dict", "array", "value" or "object".
std::string_view kind_name(const qv_node* node);

enum class FileKind { Dict, Object, Model3d, DlModel };

// The text after the last '.' of the last component, in lower case (ASCII); empty when there is none.
std::string extension_of(std::string_view path);
// By extension; files that are not dictionaries, 3D models or deep-learning models are iconic.
FileKind kind_of_file(std::string_view path);
// Whether the library reads files of this extension. Other files in a folder are skipped.
bool has_known_extension(std::string_view path);

// A JSON reading option: the name of its key in the host interface, and a text, integer or real.
struct ReadingOption {
  int32_t key;
  std::string value;
};

class Session {
 public:
  Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Returns the root of the tree, valid until the next open or the end of the session. Throws Failure.
  const qv_node* open(const std::string& path, FileKind kind, const std::vector<ReadingOption>& options = {});
  const std::string& path() const { return path_; }
  // Whether the file still has the size and the time that it had before it was opened.
  bool file_is_unchanged() const;
  qv_reader* reader() const { return reader_.get(); }
  std::string last_error() const { return to_utf8(qv_reader_last_error(reader())); }
  // Throws Failure with the last-error text, or with `otherwise` if that is empty.
  [[noreturn]] void fail(const std::string& otherwise) const;

 private:
  struct Destroy {
    void operator()(qv_reader* reader) const { qv_reader_destroy(reader); }
  };
  struct Version {
    std::uintmax_t size;
    std::filesystem::file_time_type time;
    bool operator==(const Version&) const = default;
  };
  static Version version_of(const std::string& path);

  std::unique_ptr<qv_reader, Destroy> reader_;
  std::string path_;
  Version version_{};
};

}  // namespace host

#endif
