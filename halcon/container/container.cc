#include "container/container.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "container/parts.h"
#include "container/stream.h"
#include "container/unknown_file.h"
#include "core/failure.h"
#include "core/file.h"
#include "iconic/object_data.h"

namespace HalconCpp::detail {

namespace {

using container::HandleKind;
using container::Reader;
using container::ReadParts;
using container::Writer;

HandleKind read_header(Reader& in) {
  char magic[container::magic.size()];
  in.read(magic, sizeof magic);
  if (const auto version = in.value<std::uint8_t>(); version != container::version)
    fail("is a container of version " + std::to_string(version) + "; only version " +
         std::to_string(container::version) + " can be read");
  return in.value<HandleKind>();
}

void write_header(Writer& out, HandleKind root) {
  out.values(container::magic);
  out.value(container::version);
  out.value(root);
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

HandleKind container_root(std::string_view path) {
  Reader in(path);
  return read_header(in);
}

HHandle read_container_handle(std::string_view path, HandleKind root) {
  Reader in(path);
  if (const HandleKind found = read_header(in); found != root) reject_root(found);
  ReadParts parts;
  HHandle last;
  const std::size_t count = in.count(2);
  for (std::size_t i = 0; i < count; ++i) {
    const auto kind = in.value<HandleKind>();
    if (i + 1 == count && kind != root) fail("its last part is of another type than it says");
    parts.add(last = container::read_handle(in, kind, parts));
  }
  if (!parts.form_one_tree()) fail("holds parts that nothing refers to");
  in.finish();
  return last;
}

HObject read_container_objects(std::string_view path) {
  Reader in(path);
  if (const HandleKind found = read_header(in); found != HandleKind::None) reject_root(found);
  HObject objects = container::read_objects(in);
  in.finish();
  return objects;
}

void write_container_handle(std::string_view path, const HandleData& handle) {
  const std::vector<container::Part> parts = container::list_parts(handle);
  Writer out(path);
  write_header(out, container::kind_of(handle));
  out.count(parts.size());
  // A reader wants children before their parents: the list from its end.
  for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
    out.value(container::kind_of(*part->handle));
    container::write_handle(out, *part->handle, parts.size() - part->first_child);
  }
  out.finish();
}

void write_container_objects(std::string_view path, const HObject& objects) {
  objects_of(objects);  // fails for an unset object before a file is made
  Writer out(path);
  write_header(out, HandleKind::None);
  container::write_objects(out, objects);
  out.finish();
}

}  // namespace HalconCpp::detail
