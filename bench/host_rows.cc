// What hosts do most: calls of accessors, and the whole tree as JSON.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "documents.h"
#include "files.h"
#include "peer_library.h"
#include "process.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "rows.h"

namespace bench {

namespace {

constexpr double no_bound = std::numeric_limits<double>::infinity();

// The mean over many calls, in seconds.
template <class Call>
double time_of_call(Call&& call) {
  constexpr int calls = 5'000'000;
  return seconds([&] {
           for (int i = 0; i < calls; ++i) keep(call());
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
  const double time = seconds([&] {
    pid_t child;
    int status = -1;
    require(posix_spawn(&child, words[0].c_str(), &actions, nullptr, arguments, environ) == 0 &&
                waitpid(child, &status, 0) == child && status == 0,
            "qv_inspect runs");
  });
  posix_spawn_file_actions_destroy(&actions);
  return time;
}

double time_of_loading(const char* library) {
  std::FILE* const answer = popen((std::string("'" LOAD_TIME "' '") + library + "'").c_str(), "r");
  double time = 0;
  require(answer && std::fscanf(answer, "%lf", &time) == 1 && pclose(answer) == 0, "a library is loaded");
  return time;
}

// Walks of many entries: one call per entry, of entries that no cache holds any more.
Pair walk() {
  const std::string path = path_of("walk.json");
  write_file(path, catalogue_document(1'000'000));
  const auto reader = std::shared_ptr<qv_reader>(new_reader());
  const qv_node* root = open_dict(reader.get(), path);
  const auto children = static_cast<std::int32_t>(qv_node_child_count(root));
  std::vector<const qv_node*> nodes;
  for (std::int32_t i = 0; i < children; ++i) nodes.push_back(qv_node_child_at(root, i));
  // The peer's nodes are as far apart as ours.
  const auto stride =
      static_cast<std::size_t>(reinterpret_cast<const char*>(nodes[1]) - reinterpret_cast<const char*>(nodes[0]));
  const std::shared_ptr<const Block> peers = std::make_shared<Block>(new_block(stride * nodes.size()));
  std::memset(peers->get(), 0, stride * nodes.size());
  const auto count = static_cast<double>(nodes.size());
  return {[=] {
            require(reader != nullptr, "the tree is there");  // the nodes live as long as it does
            return seconds([&] {
                     for (const qv_node* node : nodes) keep(qv_node_kind(node));
                   }) /
                   count;
          },
          [=] {
            return seconds([&] {
                     for (std::size_t i = 0; i < nodes.size(); ++i)
                       keep(peer_node_kind(reinterpret_cast<const peer_node*>(peers->get() + i * stride)));
                   }) /
                   count;
          }};
}

}  // namespace

void add_host_rows() {
  add_row({"one accessor call", "a call of another library", 1.2, 15}, accessor);
  add_row({"one accessor call, walk of 1,000,000 entries", "a call of another library", 1.2, 9}, walk);
  add_row({"loading the library", "an empty library with the same dependencies", no_bound, 9, Unit::Seconds, false},
          [] {
            return Pair{[] { return time_of_loading(ADAPTER_LIBRARY); }, [] { return time_of_loading(EMPTY_LIBRARY); }};
          });
  for (const Shape& shape : shapes)
    add_row({std::string("qv_inspect --json, 1,000,000 entries, ") + shape.name, "parsing alone", 2.0, 5, Unit::Seconds,
             false},
            [shape] {
              const std::string path = path_of("document.json");
              write_file(path, shape.make(1'000'000));
              return Pair{[=] { return time_of_inspect(path, true); }, [=] { return time_of_inspect(path, false); }};
            });
}

}  // namespace bench
