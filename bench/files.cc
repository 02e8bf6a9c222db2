#include "files.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace bench {

namespace fs = std::filesystem;

// The paths here are plain ASCII.
std::u16string wide(const std::string& text) { return {text.begin(), text.end()}; }

namespace {

fs::path folder;

const qv_node* opened(qv_reader* reader, const qv_node* root, const std::string& path) {
  if (root) return root;
  std::string reason;
  for (const qv_char* c = qv_reader_last_error(reader); *c; ++c) reason += static_cast<char>(*c);
  std::fprintf(stderr, "%s does not open: %s\n", path.c_str(), reason.c_str());
  std::exit(1);
}

}  // namespace

Folder::Folder() {
  folder = fs::temp_directory_path() / ("quovel-bench-" + std::to_string(std::random_device{}()));
  fs::create_directories(folder);
}

Folder::~Folder() { fs::remove_all(folder); }

std::string path_of(std::string_view name) { return (folder / name).string(); }

void write_file(const std::string& path, std::string_view content) {
  std::ofstream file(path, std::ios::binary);
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
  require(file.good(), "a file is written");
}

std::string read_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

Reader new_reader() { return Reader(qv_reader_create()); }

const qv_node* open_dict(qv_reader* reader, const std::string& path) {
  return opened(reader, qv_reader_parse_file(reader, wide(path).c_str()), path);
}

const qv_node* open_objects(qv_reader* reader, const std::string& path) {
  return opened(reader, qv_reader_parse_object_file(reader, wide(path).c_str()), path);
}

void convert(const std::string& from, const std::string& to) {
  const Reader reader = new_reader();
  require(qv_reader_convert_dict_file(reader.get(), wide(from).c_str(), wide(to).c_str(), 0) == 1,
          "a file is converted");
}

OpenObject open_first_object(const std::string& path) {
  OpenObject object{new_reader(), nullptr};
  object.node = qv_node_child_at(open_objects(object.reader.get(), path), 0);
  return object;
}

void require(bool held, const char* what) {
  if (held) return;
  std::fprintf(stderr, "this did not hold: %s\n", what);
  std::exit(1);
}

}  // namespace bench
