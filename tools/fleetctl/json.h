// Just enough JSON for fleetctl's machine-readable output.
#ifndef OWB_TOOLS_FLEETCTL_JSON_H
#define OWB_TOOLS_FLEETCTL_JSON_H

#include <string>

namespace fleetctl {

// text as a JSON string literal, quotes included.  Control characters are
// escaped; other bytes pass as they are.
std::string jsonString(const std::string& text);
// A JSON string, or null for a null pointer.
std::string jsonStringOrNull(const char* text);

}  // namespace fleetctl

#endif  // OWB_TOOLS_FLEETCTL_JSON_H
