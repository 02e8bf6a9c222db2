#include "container/container.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "container/parts.h"
#include "core/arguments.h"
#include "core/failure.h"
#include "iconic/object_data.h"

namespace HalconCpp {

namespace detail {

namespace {

using container::HandleKind;
using container::Reader;
using container::ReadParts;
using container::Writer;

constexpr std::pair<HandleKind, std::string_view> semantic_types[] = {{HandleKind::Dict, "dict"},
                                                                      {HandleKind::Matrix, "matrix"},
                                                                      {HandleKind::Model3d, "object_model_3d"},
                                                                      {HandleKind::DlModel, "dl_model"}};

HandleKind kind_named(std::string_view semantic_type) noexcept {
  for (const auto& [kind, name] : semantic_types)
    if (name == semantic_type) return kind;
  return HandleKind::None;
}

std::string content_name(HandleKind root) {
  for (const auto& [kind, name] : semantic_types)
    if (kind == root) return "a handle of type \"" + std::string(name) + "\"";
  return root == HandleKind::None ? "iconic objects" : "content of an unknown type";
}

// Reads the magic, the version and the kind of the root.
void read_header(Reader& in, HandleKind expected) {
  char magic[container::magic.size()];
  in.read(magic, sizeof magic);
  if (const auto version = in.value<std::uint8_t>(); version != container::version)
    fail("is a container of version " + std::to_string(version) + "; version " + std::to_string(container::version) +
         " is read");
  if (const auto root = in.value<HandleKind>(); root != expected)
    fail("holds " + content_name(root) + ", not " + content_name(expected));
}

void write_header(Writer& out, HandleKind root) {
  out.values(container::magic);
  out.value(container::version);
  out.value(root);
}

void require_container(std::string_view path) {
  if (!is_container(path)) reject_foreign_file(path);
}

}  // namespace

bool is_container(std::string_view path) {
  InputFile file(path);
  if (file.size() == 0) fail("the file is empty");
  char first[container::magic.size()];
  if (file.size() < sizeof first) return false;
  file.read(first, sizeof first);
  return std::string_view(first, sizeof first) == container::magic;
}

void reject_foreign_file(std::string_view path) {
  const std::string extension = extension_of(path);
  for (const std::string_view known : {"hobj", "hdict", "om3", "hdl", "dl", "reg", "plg", "mtx", "tup", "hhandle"})
    if (extension == known)
      fail("is no file of the built-in class interface; files written by an installed HALCON need a build against it");
  fail("is of no format that is read here");
}

HHandle read_container_handle(std::string_view path, std::string_view semantic_type) {
  require_container(path);
  Reader in(path);
  const HandleKind expected = kind_named(semantic_type);
  read_header(in, expected);
  ReadParts parts;
  HHandle last;
  const std::size_t count = in.count(2);
  for (std::size_t i = 0; i < count; ++i) {
    const auto kind = in.value<HandleKind>();
    if (i + 1 == count && kind != expected) fail("its last part is of another type than it says");
    parts.add(last = container::read_handle(in, kind, parts));
  }
  if (!parts.form_one_tree()) fail("holds parts that nothing refers to");
  in.finish();
  return last;
}

HObject read_container_objects(std::string_view path) {
  require_container(path);
  Reader in(path);
  read_header(in, HandleKind::None);
  HObject objects = container::read_objects(in);
  in.finish();
  return objects;
}

// Children are written before their parents: the list of parts from its end.
void write_container_handle(std::string_view path, const HandleData& handle) {
  const std::vector<container::Part> parts = container::list_parts(handle);
  Writer out(path);
  write_header(out, container::kind_of(handle));
  out.count(parts.size());
  for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
    out.value(container::kind_of(*part->handle));
    container::write_handle(out, *part->handle, parts.size() - part->first_child);
  }
  out.finish();
}

void write_container_objects(std::string_view path, const HObject& objects) {
  objects_of(objects);
  Writer out(path);
  write_header(out, HandleKind::None);
  container::write_objects(out, objects);
  out.finish();
}

}  // namespace detail

void ReadObject(HObject* object, const HTuple& file) {
  detail::operate("ReadObject", [&] {
    const std::string_view path = detail::text_argument(file, "the file name");
    HObject read = detail::in_file(path, [&] { return detail::read_container_objects(path); });
    *object = std::move(read);
  });
}

void WriteObject(const HObject& object, const HTuple& file) {
  detail::operate("WriteObject", [&] {
    const std::string_view path = detail::text_argument(file, "the file name");
    detail::in_file(path, [&] { detail::write_container_objects(path, object); });
  });
}

}  // namespace HalconCpp
