// The tool's side of the toolkit's start-up and loop.
#include "fleetmgr/toolkitlink.h"

#include <cstdio>
#include <cstdlib>

#include "shared/globals.h"
#include "shared/messages.h"
#include "shared/ui/resources.h"
#include "toolkit/dsply.h"
#include "toolkit/event.h"

ErrMasterPtr FLEETMGR = nullptr;

namespace {

const char* const S_ModuleName = "fleetmgr";

}  // namespace

void prepareToolkitStart() {
  // The shared globals would end the process with a status of their own
  // when the installation is missing; the tool's status for that is 1.
  const char* owb = std::getenv("OWB");
  if (!owb || !*owb) {
    std::fprintf(stderr, "fleetmgr: the OWB environment variable is not set\n");
    std::exit(1);
  }
  readOwbDirectory();
  useResourcesDirectoryAsSearchPath();
}

void requireDisplay() {
  if (DSPLY_IsOpen()) return;
  ERR_TRACEIN(S_ModuleName);
  ERR_FailStr("The Fleet Manager needs a display: %s", DSPLY_GetLastError());
}

void pollToolMessages() {
  ErrTrace frame(S_ModuleName, __FILE__, __LINE__);
  if (EventErrHandler report = EVENT_QueryErrHandler()) frame.rec()->ReportProc = report;
  ERR_TryRecoverFn(frame, [] { gMessageCenter->poll(); });
}
