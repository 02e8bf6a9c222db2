// The HALCON that the library runs against.
#ifndef QUOVEL_OUTPUT_VERSION_H
#define QUOVEL_OUTPUT_VERSION_H

#include <string>

namespace quovel {

// HALCON's version as it reports it, or "unknown". Asked once per process, whatever the answer; the text is never
// destroyed.
const std::u16string& halcon_version_text();

}  // namespace quovel

#endif
