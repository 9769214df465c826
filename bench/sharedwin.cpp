// The shared windows on a private X server:
//   - an alert, from displayAlertWindow to its window mapped and drawn
//     (target below 20 ms), median of 20;
//   - the file picker on a directory of 10 000 entries, from chooseFile to
//     the window mapped and its list drawn (target below 100 ms), median
//     of 10.
// Neither has a message center or a window manager: no Tool Manager is
// asked, so nothing waits on a reply.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "shared/alert.h"
#include "shared/globals.h"
#include "shared/ui/alertwin.h"
#include "shared/ui/filepick.h"
#include "shared/ui/uiglobals.h"
#include "bench/bench_timing.h"
#include "tests/testsupport.h"
#include "tests/xvfb_support.h"
#include "toolkit/app.h"
#include "toolkit/dsply.h"
#include "toolkit/event.h"
#include "toolkit/rgn.h"

namespace {

using benchtiming::median;
using benchtiming::nowUs;

bool startToolkit() {
  static bool started = false;
  if (started) return true;
  if (!owbtest::sharedXvfb().ok()) return false;
  std::string dir = owbtest::installTree() + "/bin/resource";
  setenv("ND_PATH", dir.c_str(), 1);
  std::snprintf(gResourcesDirectory, sizeof gResourcesDirectory, "%s/", dir.c_str());
  GW_LibInstall();
  GW_LibLoadInit();
  if (!DSPLY_IsOpen()) return false;
  loadSharedDrawingObjects();
  installAlertWindow();
  started = true;
  return true;
}



// Watches from the modal loop for the window to be mapped and drawn, notes
// the time and ends the run.
struct Watch {
  WinPtr (*window)();
  int64_t startUs = 0;
  double ms = 0;
};

// A connection of the benchmark's own, to see the window mapped as the
// server sees it.
Display* observer() {
  static Display* dpy = XOpenDisplay(owbtest::sharedXvfb().display().c_str());
  return dpy;
}

bool drawn(WinPtr win) {
  if (!win || !WIN_IsOpen(win) || EVENT_IsInvalPending() || !win->InvalRgn || !RGN_IsEmpty(win->InvalRgn))
    return false;
  DSPLY_Sync();
  XWindowAttributes attributes;
  return observer() && XGetWindowAttributes(observer(), WIN_GetNatWin(win), &attributes) &&
         attributes.map_state == IsViewable;
}

void watch(ClientPtr data) {
  Watch* w = static_cast<Watch*>(data);
  WinPtr win = w->window();
  if (!drawn(win)) {
    EVENT_StartCBackAlarmDS(watch, w, 1);
    return;
  }
  DSPLY_Sync();
  w->ms = (nowUs() - w->startUs) / 1000.0;
  WIN_ModalReturn(win, 0);
}

void BM_AlertToDrawn(benchmark::State& state) {
  if (!startToolkit()) {
    state.SkipWithError("no X server");
    return;
  }
  std::vector<double> times;
  for (auto _ : state) {
    for (int i = 0; i < 20; i++) {
      Watch w{ALRTW_GetWin};
      EVENT_StartCBackAlarmDS(watch, &w, 0);
      w.startUs = nowUs();
      displayAlertWindow("Are you sure you want to replace harbour.flt?", kAlertQuestion, "Replace existing file?",
                         "Replace", "Cancel", nullptr, FALSE, nullptr);
      times.push_back(w.ms);
      EVENT_Update();
    }
  }
  double med = median(times);
  state.counters["median_ms"] = med;
  std::printf("displayAlertWindow to mapped and drawn, median of %zu: %.2f ms (target < 20 ms)\n", times.size(), med);
}
BENCHMARK(BM_AlertToDrawn)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_PickerOn10000Entries(benchmark::State& state) {
  if (!startToolkit()) {
    state.SkipWithError("no X server");
    return;
  }
  owbtest::TempDir dir;
  for (int i = 0; i < 10000; i++) {
    char name[32];
    std::snprintf(name, sizeof name, "fleet%05d.%s", i, i % 3 ? "flt" : "cfg");
    owbtest::writeWholeFile(dir.file(name), "");
  }
  char here[4096];
  if (!getcwd(here, sizeof here)) here[0] = 0;
  if (chdir(dir.path().c_str()) != 0) {
    state.SkipWithError("cannot enter the directory");
    return;
  }
  std::vector<double> times;
  for (auto _ : state) {
    for (int i = 0; i < 10; i++) {
      Watch w{FPICK_GetWin};
      EVENT_StartCBackAlarmDS(watch, &w, 0);
      w.startUs = nowUs();
      fileNameType result;
      chooseFile(kDisplayFiles, result, "Choose a fleet", nullptr, "*.flt", FALSE, FALSE);
      times.push_back(w.ms);
      EVENT_Update();
    }
  }
  if (*here && chdir(here) != 0) std::perror("chdir");
  double med = median(times);
  state.counters["median_ms"] = med;
  std::printf("chooseFile on 10 000 entries to mapped and drawn, median of %zu: %.2f ms (target < 100 ms)\n",
              times.size(), med);
}
BENCHMARK(BM_PickerOn10000Entries)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
