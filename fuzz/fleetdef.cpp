// Fuzzes the fleet definition reader.  Whatever it accepts must survive
// the writer: a written definition that reads back writes back identically.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "fleet/fileutil.h"
#include "fleet/fleetdef.h"
#include "fuzz/fuzz_support.h"

namespace {

// The definition file without its stamp line, which holds the time.
std::string writtenBody(const std::string& fleetDir, FleetFileContent& content) {
  if (!writeFleetDefinition(fleetDir.c_str(), &content)) return "";
  FILE* file = std::fopen((fleetDir + "/" + content.fleetName + ".flt").c_str(), "rb");
  std::string text;
  char block[4096];
  size_t got;
  while (file && (got = std::fread(block, 1, sizeof block, file)) > 0) text.append(block, got);
  if (file) std::fclose(file);
  return text.substr(text.find('\n') + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& scratch = fuzzsupport::scratchDirectory();
  static const std::string fleetDir = [&] {
    std::string dir = scratch + "/fleet";
    ensureDir(dir.c_str());
    return dir;
  }();
  fuzzsupport::writeFile(fleetDir + "/fleet.flt", data, size);

  FleetFileContent first;
  if (!readFleetDefinition(fleetDir.c_str(), &first)) return 0;
  // The first read may keep what a file can hold but not write back (a
  // truncated field ending in a blank, a last engine without a name), and
  // the line reader cuts every line at its last carriage return, so a value
  // holding carriage returns loses one tail per read.  The check starts
  // from the first definition that is written without a carriage return.
  std::string written = writtenBody(fleetDir, first);
  for (int pass = 0; written.find('\r') != std::string::npos; ++pass) {
    FleetFileContent again;
    if (pass == 8 || !readFleetDefinition(fleetDir.c_str(), &again)) return 0;
    written = writtenBody(fleetDir, again);
  }
  FleetFileContent second;
  if (!readFleetDefinition(fleetDir.c_str(), &second)) return 0;
  std::string twice = writtenBody(fleetDir, second);
  FleetFileContent third;
  if (!readFleetDefinition(fleetDir.c_str(), &third)) std::abort();
  if (writtenBody(fleetDir, third) != twice) std::abort();
  return 0;
}
