// Threads with little stack, as hosts have them.
#ifndef QUOVEL_TESTS_SUPPORT_SMALL_STACK_H
#define QUOVEL_TESTS_SUPPORT_SMALL_STACK_H

#include <gtest/gtest.h>
#include <pthread.h>

namespace test {

// Runs `body` on a thread with a stack of 1 MiB.
template <class Body>
void on_small_stack(Body body) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 1 << 20), 0);
  pthread_t thread;
  const auto run = [](void* argument) -> void* {
    (*static_cast<Body*>(argument))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &body), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

}  // namespace test

#endif
