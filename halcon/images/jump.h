// Calls of C libraries that report a failure through a function that must not return (libpng, libjpeg).
#ifndef HALCONCPP_IMAGES_JUMP_H
#define HALCONCPP_IMAGES_JUMP_H

#include <csetjmp>

namespace HalconCpp::detail {

// Runs `body`; false when a library call in it reported a failure by longjmp to `place`. The body must hold no object
// with a destructor and throw nothing; what it changes is declared outside of it.
template <class Body>
bool jump_free(std::jmp_buf& place, Body&& body) {
  if (setjmp(place)) return false;
  body();
  return true;
}

}  // namespace HalconCpp::detail

#endif
