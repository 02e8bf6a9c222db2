// Settings of the library and what it tells about itself.
#include <atomic>
#include <string>
#include <string_view>
#include <utility>

#include "HalconCpp.h"
#include "core/access.h"
#include "core/arguments.h"
#include "core/failure.h"

namespace HalconCpp {

using detail::Access;

namespace {

std::atomic<bool> clip_region{true};

}  // namespace

void SetSystem(const HTuple& name, const HTuple& value) {
  detail::operate("SetSystem", [&] {
    const std::string_view setting = detail::text_argument(name, "the name of the setting");
    if (setting != "clip_region")
      detail::fail("unknown setting " + detail::quoted(setting) + "; accepted is 'clip_region'");
    const std::string_view text = detail::text_argument(value, "the value of 'clip_region'");
    if (text != "true" && text != "false")
      detail::fail("'clip_region' takes 'true' or 'false', not " + detail::quoted(text));
    clip_region.store(text == "true", std::memory_order_relaxed);
  });
}

void GetSystem(const HTuple& query, HTuple* information) {
  detail::operate("GetSystem", [&] {
    const std::string_view name = detail::text_argument(query, "the name of the query");
    HTuple answer;
    if (name == "version")
      answer = Access::text_tuple("24.11 (built-in class interface)");
    else if (name == "clip_region")
      answer = Access::text_tuple(clip_region.load(std::memory_order_relaxed) ? "true" : "false");
    else
      detail::fail("unknown query " + detail::quoted(name) + "; accepted are 'version' and 'clip_region'");
    detail::offer_answer("GetSystem", answer);
    *information = std::move(answer);
  });
}

}  // namespace HalconCpp
