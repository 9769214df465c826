// Fuzz target: open a resource library from untrusted bytes and load every
// resource in it.  Any input must load or fail through the error frames,
// and leave nothing loaded behind.
#include <cstdint>
#include <cstdio>
#include <vector>

#include "fuzz/fuzz_support.h"
#include "toolkit/app.h"
#include "toolkit/bknot.h"
#include "toolkit/rlib.h"

namespace {

void loadEverything(RLibPtr lib) {
  for (BKnotPtr m : std::vector<BKnotPtr>(lib->Modules)) RES_LoadDeepChildren(RLIB_GetModuleRes(m));
  for (size_t i = 0; i < lib->Exports.size(); ++i) RLIB_IndexToExportRes(lib, static_cast<Int>(i));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzzsupport::installResourcesSilently();
  std::vector<RLibPtr> before = RLIB_GetAll();
  ErrTrace frame("Err", __FILE__, __LINE__);
  ERR_SetReportSilent(frame.rec());
  ERR_TryRecoverFn(frame, [&] { loadEverything(RLIB_LoadMemory("fuzz.dat", data, size)); });
  for (RLibPtr lib : RLIB_GetAll()) {
    bool old = false;
    for (RLibPtr b : before) old = old || b == lib;
    if (!old) RLIB_Unload(lib);
  }
  return 0;
}
