#include "adapter/reader.h"

#include "HalconCpp.h"
#include "platform/failure.h"
#include "platform/text.h"

namespace quovel {

namespace {

std::u16string text_of_current_exception() {
  try {
    throw;
  } catch (const HalconCpp::HException& failure) {
    return from_halcon(failure.ErrorMessage());
  } catch (const ReportedError& failure) {
    return failure.text();
  } catch (...) {
    return {};
  }
}

}  // namespace

void keep_error(Reader& reader) noexcept {
  try {
    reader.last_error = text_of_current_exception();
  } catch (...) {
    reader.last_error.clear();  // not even memory for the message
  }
}

}  // namespace quovel
