// What hosts do most: calls of accessors, and the whole tree as JSON.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>

#include "documents.h"
#include "files.h"
#include "peer_library.h"
#include "rows.h"

namespace bench {

namespace {

// The mean over many calls, in seconds.
template <class Call>
double time_of_call(Call&& call) {
  constexpr int calls = 5'000'000;
  return seconds([&] {
           for (int i = 0; i < calls; ++i) benchmark::DoNotOptimize(call());
         }) /
         calls;
}

Pair accessor() {
  const std::string path = path_of("few.json");
  write_file(path, "{\"a\": 1}");
  const auto reader = std::shared_ptr<qv_reader>(new_reader());
  const qv_node* node = qv_node_child_at(open_dict(reader.get(), path), 0);
  const auto peer = std::make_shared<const peer_node>();
  return {[reader, node] { return time_of_call([=] { return qv_node_kind(node); }); },
          [peer] { return time_of_call([&] { return peer_node_kind(peer.get()); }); }};
}

double time_of_inspect(const std::string& path, bool whole) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  std::string words[] = {QV_INSPECT, "--json", path, "--depth", "0"};
  char* const arguments[] = {words[0].data(), words[1].data(), words[2].data(), whole ? nullptr : words[3].data(),
                             words[4].data(), nullptr};
  const double time = wall_seconds([&] {
    pid_t child;
    int status = -1;
    require(posix_spawn(&child, words[0].c_str(), &actions, nullptr, arguments, environ) == 0 &&
                waitpid(child, &status, 0) == child && status == 0,
            "qv_inspect runs");
  });
  posix_spawn_file_actions_destroy(&actions);
  return time;
}

}  // namespace

void add_host_rows() {
  add_row({"one accessor call", "a call of another library", 1.3, 15}, accessor);
  for (const Shape& shape : shapes)
    add_row({std::string("qv_inspect --json, 1,000,000 entries, ") + shape.name, "parsing alone", 2.0, 5}, [shape] {
      const std::string path = path_of("document.json");
      write_file(path, shape.make(1'000'000));
      return Pair{[=] { return time_of_inspect(path, true); }, [=] { return time_of_inspect(path, false); }};
    });
}

}  // namespace bench
