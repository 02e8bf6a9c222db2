// The HALCON that the library runs against.
#ifndef QUOVEL_OUTPUT_VERSION_H
#define QUOVEL_OUTPUT_VERSION_H

#include <string>

namespace quovel {

// HALCON's version as it reports it, or "unknown"; asked once per process, whatever came of it.
const std::u16string& halcon_version_text();

}  // namespace quovel

#endif
