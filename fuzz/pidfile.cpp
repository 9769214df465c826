// Fuzzes the reading of pid files: the input is the pid file of an engine
// of a small fleet.  Whatever it holds, the process id read is 0 or a
// number above 1, and status reads the whole file without fault.  Only
// signal 0 is ever sent here, and never to 0, 1 or -1.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "fleet/fileutil.h"
#include "fleet/pidfile.h"
#include "fleet/psfleet.h"
#include "fuzz/fuzz_support.h"
#include "shared/utils.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& scratch = fuzzsupport::scratchDirectory();
  static const std::string fleetDir = [&] {
    std::string dir = scratch + "/demo";
    ensureDir(dir.c_str());
    const char definition[] = "[ Common ]\nBasePort = 20000\n[ Engine ]\nEngineName = alpha\nEnginePlaceConfig = p\n";
    fuzzsupport::writeFile(dir + "/demo.flt", reinterpret_cast<const uint8_t*>(definition), sizeof definition - 1);
    return dir;
  }();
  fuzzsupport::writeFile(fleetDir + "/alpha.pid", data, size);

  int pid = getProcessID(fleetDir.c_str(), "alpha");
  if (pid < 0 || pid == 1) std::abort();
  PsFleetArgs status;
  copyIntoField(status.fleetDir, sizeof status.fleetDir, fleetDir.c_str());
  fleetProcessInfo* records = nullptr;
  if (psFleet(&status, &records)) {
    for (fleetProcessInfo* record = records; record; record = record->next)
      if (record->processID < 0 || record->processID == 1) std::abort();
  }
  freeFleetProcessInfo(&records);
  return 0;
}
