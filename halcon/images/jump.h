// C libraries that report a failure by a call that must not return: the way back out of them.
#ifndef HALCONCPP_IMAGES_JUMP_H
#define HALCONCPP_IMAGES_JUMP_H

#include <csetjmp>

namespace HalconCpp::detail {

// Runs `body`, whose library calls report a failure by longjmp to `place`; false then. The body must hold no object
// with a destructor and throw nothing; what it changes stands outside of it.
template <class Body>
bool jump_free(std::jmp_buf& place, Body&& body) {
  if (setjmp(place)) return false;
  body();
  return true;
}

}  // namespace HalconCpp::detail

#endif
