// Fuzzes the configuration reader in both port modes.  The input is an
// engine's startup.cfg; a second file, place.cfg, holds the input's second
// half so that includes (also through AutoLoadPath) have a target.
#include <cstdint>
#include <string>

#include "fleet/configlang.h"
#include "fleet/fileutil.h"
#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& scratch = fuzzsupport::scratchDirectory();
  static const std::string fleetDir = [&] {
    std::string dir = scratch + "/fleet";
    ensureDir((dir + "/eng").c_str());
    return dir;
  }();
  fuzzsupport::writeFile(fleetDir + "/eng/startup.cfg", data, size);
  fuzzsupport::writeFile(fleetDir + "/place.cfg", data + size / 2, size - size / 2);

  configItem* list = nullptr;
  if (readConfigFile(fleetDir.c_str(), "eng", &list, nullptr, nullptr)) freeConfigList(&list);

  long nextPort = 5000;
  configItem* ports = nullptr;
  if (readConfigFile(fleetDir.c_str(), "eng", &list, &nextPort, &ports)) freeConfigList(&list);
  freeConfigList(&ports);
  return 0;
}
