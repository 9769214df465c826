// The toolkit started once on the shared private X server (Xvfb), for the
// benchmarks that draw.
#ifndef OWB_BENCH_DISPLAY_H
#define OWB_BENCH_DISPLAY_H

#include <cstdint>
#include <cstdlib>
#include <string>

#include "tests/testsupport.h"
#include "tests/xvfb_support.h"
#include "toolkit/app.h"
#include "toolkit/dsply.h"
#include "toolkit/event.h"
#include "toolkit/rlib.h"
#include "toolkit/winpub.h"

namespace benchdisplay {

// Installs the toolkit and opens the display on the first call; with a
// library name, also loads <library>.dat from the installation's resources.
// False when there is no X server; later calls return the first answer.
inline bool startToolkit(const char* library = nullptr) {
  static const bool started = [library] {
    if (!owbtest::sharedXvfb().ok()) return false;
    if (library) {
      std::string dir = owbtest::installTree() + "/bin/resource";
      setenv("ND_PATH", dir.c_str(), 1);
    }
    TKIT_LibInstall();
    if (!DSPLY_Init(owbtest::sharedXvfb().display().c_str())) return false;
    EVENT_Init();
    if (library) RLIB_LoadLibFile(library, (std::string(library) + ".dat").c_str());
    return true;
  }();
  return started;
}

// Runs the event loop until done() holds or timeoutMs have passed, waiting
// waitMs for input between turns, then flushes to the server.
template <class Done>
void runUntil(Done done, int timeoutMs = 3000, int waitMs = 2) {
  int64_t until = DSPLY_Now() + timeoutMs;
  while (DSPLY_Now() < until && !done()) {
    EVENT_ProcessPending();
    DSPLY_WaitForInput(waitMs);
  }
  DSPLY_Sync();
}

// Ends a benchmark's window and lets the loop carry the end out.
inline void endWindow(WinPtr win) {
  WIN_TerminateGetStatus(win);
  EVENT_Update();
  EVENT_ProcessPending();
}

}  // namespace benchdisplay

#endif  // OWB_BENCH_DISPLAY_H
