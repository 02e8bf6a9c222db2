#include "output/version.h"

#include "HalconCpp.h"
#include "platform/text.h"

namespace quovel {

namespace {

// When this HALCON call fails, the version is "unknown" for the rest of the process.
std::u16string ask_version() try {
  HalconCpp::HTuple information;
  HalconCpp::GetSystem("version", &information);
  if (information.Length() == 0) return u"unknown";
  return from_halcon(information[0].S());
} catch (const HalconCpp::HException&) {
  return u"unknown";
}

}  // namespace

const std::u16string& halcon_version_text() {
  // Never destroyed: hosts ask from functions that run at exit, and from threads that outlive main.
  static const auto& text = *new std::u16string(ask_version());
  return text;
}

}  // namespace quovel
