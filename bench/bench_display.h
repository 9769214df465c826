// The toolkit started once on the shared private X server (Xvfb), for the
// benchmarks that draw.
#ifndef OWB_BENCH_DISPLAY_H
#define OWB_BENCH_DISPLAY_H

#include <cstdlib>
#include <string>

#include "tests/testsupport.h"
#include "tests/xvfb_support.h"
#include "toolkit/app.h"
#include "toolkit/dsply.h"
#include "toolkit/event.h"
#include "toolkit/rlib.h"

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

}  // namespace benchdisplay

#endif  // OWB_BENCH_DISPLAY_H
