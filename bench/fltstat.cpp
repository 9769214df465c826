// The Fleet Manager's status window on a fleet of 100 processes (10
// engines, 9 external processes each), drawn on a private X server:
//   FleetStatusCommand  the CMDS message "Fleet Status" handed to the tool
//                       until the new window is on the screen and drawn
//                       (target: under 100 ms; the main loop's 50 ms pacing
//                       is not in it)
//   FleetStatusAgain    the same command on the window already open
//   UpdateButton        the update button's hit until the 100 rows are
//                       read again and drawn (target: under 50 ms)
#include <benchmark/benchmark.h>
#include <sys/stat.h>

#include <cstdio>
#include <string>

#include "fleet/fileutil.h"
#include "fleet/fleetdef.h"
#include "fleetmgr/fleetmgr.h"
#include "fleetmgr/registry.h"
#include "fleetmgr/toolmsgs.h"
#include "shared/globals.h"
#include "shared/wiremessage.h"
#include "tests/fleetmgr/toolwindows.h"
#include "toolkit/dsply.h"
#include "toolkit/event.h"
#include "toolkit/lbox.h"
#include "toolkit/tbut.h"
#include "toolkit/winpub.h"

namespace {

constexpr int kEngines = 10;
constexpr int kExternalsPerEngine = 9;

struct World {
  owbtest::TempDir root;
  std::string definition;
  FleetObject* fleet = nullptr;
  bool ok = false;

  World() {
    if (!fmtest::startToolWindows()) return;
    std::string dir = root.file("hundred");
    mkdir(dir.c_str(), 0777);
    FleetFileContent content("hundred");
    content.basePort = 6000;
    for (int e = 0; e < kEngines; e++) {
      std::string label = "eng" + std::to_string(e);
      auto* engine = new EngineConfiguration(label.c_str());
      std::snprintf(engine->enginePlaceConfig, sizeof engine->enginePlaceConfig, "%s/place.cfg", root.path().c_str());
      content.engines.include(engine);
      mkdir((dir + "/" + label).c_str(), 0777);
      std::string startup;
      for (int x = 0; x < kExternalsPerEngine; x++)
        startup += "&" + label + "ext" + std::to_string(x) + " = sleep 1000 --quietly\n";
      owbtest::writeWholeFile(dir + "/" + label + "/startup.cfg", startup);
    }
    if (!writeFleetDefinition(dir.c_str(), &content)) return;
    std::snprintf(ThisCurrentDir, sizeof ThisCurrentDir, "%s", root.path().c_str());
    gFleetMgr = new FleetMgr();
    auto* parsed = new FleetFileContent();
    if (!validFleetDefFile(dir.c_str(), parsed)) return;
    fleet = gFleetMgr->addFleet(dir.c_str(), parsed);
    definition = fleet->fleetFileName;
    ok = true;
  }
};

World& world() {
  static World* w = new World();
  return *w;
}

// Serves events until the window is open and nothing is left to draw.
void untilDrawn(WinPtr win) {
  int64_t deadline = DSPLY_Now() + 5000;
  for (;;) {
    EVENT_ProcessPending();
    DSPLY_Sync();
    bool drawn = win && WIN_IsOpen(win) && !EVENT_IsInvalPending() && !EVENT_IsPending() && win->InvalRgn &&
                 RGN_IsEmpty(win->InvalRgn);
    if (drawn || DSPLY_Now() > deadline) break;
    DSPLY_WaitForInput(1);
  }
}

void closeStatusWindow(FleetObject* fleet) {
  if (!fleet->fleetStatusWindow) return;
  WIN_TerminateGetStatus(fleet->fleetStatusWindow);
  fleet->fleetStatusWindow = nullptr;
  for (int i = 0; i < 20; i++) {
    EVENT_ProcessPending();
    DSPLY_WaitForInput(2);
  }
}

Message statusCommand(const std::string& file) {
  Message message(kCommandSelectedMessage, nullptr);
  message.addStringParam(kParamStr31, "Fleet Status");
  message.addStringParam(kParamStr31, "");
  message.addLongParam(0);
  message.addParam(kParamStr31, file.c_str(), static_cast<long>(file.size() + 1));
  return message;
}

void sendStatusCommand(World& w) {
  Message message = statusCommand(w.definition);
  handleCommandSelected(&message, nullptr);
  untilDrawn(w.fleet->fleetStatusWindow);
}

void FleetStatusCommand(benchmark::State& state) {
  World& w = world();
  if (!w.ok) return state.SkipWithError("no X server or no fleet");
  for (auto _ : state) {
    sendStatusCommand(w);
    state.PauseTiming();
    closeStatusWindow(w.fleet);
    state.ResumeTiming();
  }
  state.counters["rows"] = 0;
  sendStatusCommand(w);
  ResPtr list = RES_GetNthChild(reinterpret_cast<ResPtr>(w.fleet->fleetStatusWindow), 4);
  state.counters["rows"] = LBOX_GetUsedRows(reinterpret_cast<LBoxPtr>(list));
  closeStatusWindow(w.fleet);
}
BENCHMARK(FleetStatusCommand)->Unit(benchmark::kMillisecond)->Iterations(20);

void FleetStatusAgain(benchmark::State& state) {
  World& w = world();
  if (!w.ok) return state.SkipWithError("no X server or no fleet");
  sendStatusCommand(w);
  for (auto _ : state) sendStatusCommand(w);
  closeStatusWindow(w.fleet);
}
BENCHMARK(FleetStatusAgain)->Unit(benchmark::kMillisecond)->Iterations(20);

void UpdateButton(benchmark::State& state) {
  World& w = world();
  if (!w.ok) return state.SkipWithError("no X server or no fleet");
  sendStatusCommand(w);
  WinPtr win = w.fleet->fleetStatusWindow;
  ResPtr update = RES_GetNthChild(reinterpret_cast<ResPtr>(win), 0);
  for (auto _ : state) {
    WGT_Send(WGT_FromRes(update), TBUT_NFYHIT);
    untilDrawn(win);
  }
  closeStatusWindow(w.fleet);
}
BENCHMARK(UpdateButton)->Unit(benchmark::kMillisecond)->Iterations(20);

}  // namespace
