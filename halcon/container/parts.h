// The parts of a container: tuples, iconic objects, and the handles that hold them. What is read is checked: a value
// that no operator could have made fails.
#ifndef HALCONCPP_CONTAINER_PARTS_H
#define HALCONCPP_CONTAINER_PARTS_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "container/stream.h"
#include "core/access.h"
#include "core/handle_data.h"

namespace HalconCpp::detail::container {

// The handles read so far.
class ReadParts {
 public:
  // The handle of that number, from 1; an empty one for 0. Each can be taken once.
  HHandle take(std::uint64_t number);
  // Adds a part that holds all handles taken since the last call. Fails when it is nested too deep.
  void add(HHandle handle);
  // Whether all parts but the last were taken.
  bool form_one_tree() const noexcept { return parts_.size() == taken_ + 1; }

 private:
  struct Part {
    HHandle handle;
    int depth;
    bool taken = false;
  };
  std::vector<Part> parts_;
  std::size_t taken_ = 0;
  int max_taken_depth_ = 0;
};

// Handles in a tuple are written as numbers that count down from `next_part`, which is left at the next one.
void write_tuple(Writer& out, const HTuple& tuple, std::uint64_t& next_part);
HTuple read_tuple(Reader& in, Tag tag, ReadParts& parts);
// Tuples without handles.
void write_plain_tuple(Writer& out, const HTuple& tuple);
HTuple read_plain_tuple(Reader& in);

void write_objects(Writer& out, const HObject& objects);
HObject read_objects(Reader& in);

// A handle to be written. Its children are next to one another in the list of all handles.
struct Part {
  const HandleData* handle;
  int depth;
  std::size_t first_child = 0;
};

// The handle and all handles below it, level by level, parents before their children. A handle that is referred to
// several times is listed once for each. Fails, naming the key, for what a container cannot hold.
std::vector<Part> list_parts(const HandleData& root);

// None for a handle that a container cannot hold.
HandleKind kind_of(const HandleData& handle) noexcept;
// The content of one handle, which a container can hold.
void write_handle(Writer& out, const HandleData& handle, std::uint64_t next_part);
HHandle read_handle(Reader& in, HandleKind kind, ReadParts& parts);

}  // namespace HalconCpp::detail::container

#endif
