#include "peer_library.h"

uint32_t peer_node_kind(const struct peer_node* node) { return node ? node->kind : 0; }
