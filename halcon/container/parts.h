// The parts of a container: tuples, iconic objects, and the handles that hold them.
#ifndef HALCONCPP_CONTAINER_PARTS_H
#define HALCONCPP_CONTAINER_PARTS_H

#include <cstdint>
#include <vector>

#include "container/stream.h"
#include "core/access.h"

namespace HalconCpp::detail::container {

// The handles read so far.
class ReadParts {
 public:
  // By the number that a tuple names. Each can be taken once.
  HHandle take(std::uint64_t number);
  // A part that holds all handles taken since the last one was added; rejects one that is nested too deep.
  void add(HHandle handle);
  // Whether all but the last one were taken.
  bool form_one_tree() const noexcept { return parts_.size() == taken_ + 1; }

 private:
  struct Part {
    HHandle handle;
    int depth;
    bool taken = false;
  };
  std::vector<Part> parts_;
  std::size_t taken_ = 0;
  int deepest_taken_ = 0;
};

// Handles in a tuple are written as numbers that count down from `next_part`, which goes on to the next one.
void write_tuple(Writer& out, const HTuple& tuple, std::uint64_t& next_part);
void write_plain_tuple(Writer& out, const HTuple& tuple);
HTuple read_tuple(Reader& in, Tag tag, ReadParts& parts);
HTuple read_plain_tuple(Reader& in);

void write_objects(Writer& out, const HObject& objects);
HObject read_objects(Reader& in);

// A handle to be written. Its children stand together in the list of all handles.
struct Part {
  const HandleData* handle;
  int depth;
  std::size_t first_child = 0;
};

// The handle and all handles below it, level by level: parents stand before their children. Rejects what the container
// does not hold by its key.
std::vector<Part> list_parts(const HandleData& root);

// What the container calls a handle; None for one that it does not hold.
HandleKind kind_of(const HandleData& handle) noexcept;
// The content of one handle.
void write_handle(Writer& out, const HandleData& handle, std::uint64_t next_part);
HHandle read_handle(Reader& in, HandleKind kind, ReadParts& parts);

}  // namespace HalconCpp::detail::container

#endif
