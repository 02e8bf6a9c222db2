// How a HALCON failure becomes a Reader's last-error text.
#ifndef QUOVEL_PLATFORM_FAILURE_H
#define QUOVEL_PLATFORM_FAILURE_H

#include <string>

#include "HalconCpp.h"
#include "platform/text.h"

namespace quovel {

// Runs `body`; when HALCON fails in it, stores HALCON's message unchanged and gives `failure_value`. Nothing else is
// caught.
template <class Result, class Body>
Result catch_halcon(std::u16string& error, Result failure_value, Body&& body) {
  try {
    return body();
  } catch (const HalconCpp::HException& failure) {
    error = from_halcon(failure.ErrorMessage());
  }
  return failure_value;
}

}  // namespace quovel

#endif
