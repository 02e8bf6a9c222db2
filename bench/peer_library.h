/* Another shared library with a function that returns a field: what a call of an accessor costs at least. */
#ifndef QUOVEL_BENCH_PEER_LIBRARY_H
#define QUOVEL_BENCH_PEER_LIBRARY_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct peer_node {
  uint64_t label;
  uint32_t kind;
};

__attribute__((visibility("default"))) uint32_t peer_node_kind(const struct peer_node* node);

#ifdef __cplusplus
}
#endif

#endif
