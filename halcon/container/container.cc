#include "container/container.h"

#include <string>
#include <string_view>
#include <vector>

#include "container/parts.h"
#include "core/failure.h"
#include "core/limits.h"
#include "dicts/entry_table.h"
#include "iconic/arguments.h"
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
    refuse("is a container of version " + std::to_string(version) + "; version " + std::to_string(container::version) +
           " is read");
  if (const auto root = in.value<HandleKind>(); root != expected)
    refuse("holds " + content_name(root) + ", not " + content_name(expected));
}

void write_header(Writer& out, HandleKind root) {
  out.values(container::magic);
  out.value(container::version);
  out.value(root);
}

// A handle to be written. Its children stand together in the list of all handles.
struct Part {
  const HandleData* handle;
  int depth;
  std::size_t first_child = 0;
};

bool may_hold_handles(const HTuple& tuple) noexcept {
  if (Access::kind(tuple) != TupleKind::Array) return Access::kind(tuple) == TupleKind::Handle;
  const ArrayData& array = Access::array(tuple);
  return array.kind == ArrayKind::Mixed || Access::element_kind(tuple, 0) == TupleKind::Handle;
}

void add_part(std::vector<Part>& parts, const HandleData& handle, int depth) {
  if (container::kind_of(handle) == HandleKind::None)
    refuse("a handle of type \"" + std::string(handle.semantic_type()) + "\" cannot be written");
  if (depth > limits::nesting)
    refuse("is nested more than " + std::to_string(limits::nesting) + " levels deep, or in itself");
  if (parts.size() >= limits::written_handles)
    refuse("holds more than " + std::to_string(limits::written_handles) +
           " handles; one that stands at several places counts at each");
  parts.push_back({&handle, depth});
}

void add_children(std::vector<Part>& parts, const HTuple& tuple, int depth) {
  for (Hlong i = 0; i < tuple.Length(); ++i)
    if (const HTuple element = Access::element(tuple, i); Access::kind(element) == TupleKind::Handle)
      if (const HandleData* child = Access::handle_data(element)) add_part(parts, *child, depth);
}

bool is_table(const HandleData& handle) noexcept {
  const HandleKind kind = container::kind_of(handle);
  return kind == HandleKind::Dict || kind == HandleKind::DlModel;
}

std::string text_of_key(const HTuple& key) {
  if (Access::kind(key) == TupleKind::String) return "key " + quoted(Access::text(key));
  return Access::kind(key) == TupleKind::Integer ? "key " + std::to_string(Access::integer(key)) : "a key";
}

// The handle and all handles below it, level by level: parents stand before their children.
std::vector<Part> parts_of(const HandleData& root) {
  std::vector<Part> parts;
  add_part(parts, root, 1);
  for (std::size_t i = 0; i < parts.size(); ++i) {
    parts[i].first_child = parts.size();
    if (!is_table(*parts[i].handle)) continue;
    const int depth = parts[i].depth + 1;
    const EntryTable& table = *parts[i].handle->entries();
    for (std::size_t k = 0; k < table.size(); ++k) {
      const HTuple& tuple = table.entries()[k].tuple;
      if (!may_hold_handles(tuple)) continue;
      try {
        add_children(parts, tuple, depth);
      } catch (const Refusal& refusal) {
        refuse(text_of_key(Access::element(table.keys(), static_cast<Hlong>(k))) + ": " + refusal.reason());
      }
    }
  }
  return parts;
}

void require_container(std::string_view path) {
  if (!is_container(path)) refuse_foreign_file(path);
}

}  // namespace

bool is_container(std::string_view path) {
  InputFile file(path);
  if (file.size() == 0) refuse("the file is empty");
  char first[container::magic.size()];
  if (file.size() < sizeof first) return false;
  file.read(first, sizeof first);
  return std::string_view(first, sizeof first) == container::magic;
}

void refuse_foreign_file(std::string_view path) {
  const std::string extension = extension_of(path);
  for (const std::string_view known : {"hobj", "hdict", "om3", "hdl", "dl", "reg", "plg", "mtx", "tup", "hhandle"})
    if (extension == known)
      refuse(
          "is no file of the built-in class interface; files written by an installed HALCON need a build against it");
  refuse("is of no format that is read here");
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
    if (i + 1 == count && kind != expected) refuse("its last part is of another type than it says");
    parts.add(last = container::read_handle(in, kind, parts));
  }
  if (!parts.form_one_tree()) refuse("holds parts that nothing refers to");
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
  const std::vector<Part> parts = parts_of(handle);
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
