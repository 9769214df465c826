// Reads the Tool Manager's window places file (~/.owb/owbplaces) from any
// bytes, then checks that what it kept is within the tables' bounds and
// that writing it out and reading that back keeps the same places.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "tools/toolman/places.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ToolManState state;
  parseWindowPlaces(std::string(reinterpret_cast<const char*>(data), size), &state);
  if (state.windowPlaces.size() > kMaxWindowTypes) std::abort();
  for (const auto& entry : state.windowPlaces)
    if (entry.second.size() > kMaxPlacesPerWindowType) std::abort();
  std::string written = formatWindowPlaces(state);
  ToolManState again;
  parseWindowPlaces(written, &again);
  if (formatWindowPlaces(again) != written) std::abort();
  return 0;
}
