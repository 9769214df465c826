// The toolkit started on the shared Xvfb as the Fleet Manager starts it,
// for the tests and benchmarks of its windows: the tool's templates and
// icon loaded and the shared drawing objects set, without the rest of the
// tool's start-up (message center, log), which the caller arranges.
#ifndef OWB_TESTS_FLEETMGR_TOOLWINDOWS_H
#define OWB_TESTS_FLEETMGR_TOOLWINDOWS_H

#include "fleetmgr/fleetmgr.h"
#include "shared/ui/uiglobals.h"
#include "tests/testsupport.h"
#include "toolkit/app.h"
#include "toolkit/err.h"
#include "toolkit/errw.h"
#include "toolkit/res.h"
#include "toolkit/rlib.h"
#include "tests/xvfb_support.h"

namespace fmtest {

// The toolkit, the tool's templates and the drawing objects, once per test
// program; false when there is no X server.
inline bool startToolWindows() {
  static int started = 0;
  if (started) return started > 0;
  started = -1;
  if (!owbtest::sharedXvfb().ok()) return false;
  setenv("DISPLAY", owbtest::sharedXvfb().display().c_str(), 1);
  setenv("ND_PATH", (owbtest::installTree() + "/bin/resource").c_str(), 1);
  GW_LibInstall();
  GW_LibLoadInit();
  // Failures go to the error stream, not to a window waiting for a user.
  ERRW_Exit();
  ErrTrace frame("Test", __FILE__, __LINE__);
  bool loaded = ERR_TryRecoverFn(frame, [] {
    RLIB_LoadLibFile("shared", "shared.dat");
    RLIB_LoadLibFile("fleetmgr", "fleetmgr.dat");
    gFleetMgrIcon = RES_LoadInit("shared", "fleetmgr");
  });
  if (!loaded) return false;
  gBlackColor = COLOR_Black();
  gHiliteColor = COLOR_LoadByText("#3264c8");
  gTextFont = FONT_LoadByText("DejaVu Sans 10");
  gLabelFont = FONT_LoadByText("DejaVu Sans 10 bold");
  gSolidPen = PEN_Solid();
  started = 1;
  return true;
}

}  // namespace fmtest

#endif  // OWB_TESTS_FLEETMGR_TOOLWINDOWS_H
