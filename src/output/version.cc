#include "output/version.h"

#include "HalconCpp.h"
#include "platform/text.h"

namespace quovel {

namespace {

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
  static const std::u16string text = ask_version();
  return text;
}

}  // namespace quovel
