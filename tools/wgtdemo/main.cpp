// Shows the toolkit's test window (wgtdemo.TestWindow from wgtdemo.dat),
// with a menu bar (tools/wgtdemo/menus.h).
//
//   wgtdemo                 runs until the window is closed, OK or Cancel
//   wgtdemo --png FILE      shows it, saves it as a PNG file and ends
//   wgtdemo --list [...]    the list window instead (wgtdemo.ListWindow)
//
// Resource libraries are found through ND_PATH, or else in the resource
// folder next to this program ($OWB/bin/resource).
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "toolkit/app.h"
#include "toolkit/dsply.h"
#include "toolkit/err.h"
#include "toolkit/event.h"
#include "toolkit/rlib.h"
#include "toolkit/tarea.h"
#include "toolkit/tbut.h"
#include "toolkit/winpub.h"
#include "tools/wgtdemo/listdemo.h"
#include "tools/wgtdemo/menus.h"

namespace {

bool gDone = false;

long buttonNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == TBUT_NFYHIT) {
    TButPtr but = TBUT_FromWgt(WGT_FromRes(res));
    std::printf("%s\n", TBUT_GetLabel(but));
    std::fflush(stdout);
    const char* name = RES_GetName(res);
    if (std::strcmp(name, "ok") == 0 || std::strcmp(name, "cancel") == 0) WIN_TerminateGetStatus(WGT_FromRes(res)->Win);
  }
  return TBUT_DefNfy(res, message, data);
}

long windowNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == WIN_NFYTERMINATED) gDone = true;
  bool close = false;
  if (handleDemoMenus(WIN_FromRes(res), message, &close)) {
    if (close) WIN_TerminateGetStatus(WIN_FromRes(res));
    return 0;
  }
  return WIN_DefNfy(res, message, data);
}

void setResourcePath(const char* argv0) {
  if (std::getenv("ND_PATH")) return;
  char self[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  std::string dir = n > 0 ? std::string(self, static_cast<size_t>(n)) : std::string(argv0);
  dir = dir.substr(0, dir.rfind('/') + 1) + "resource";
  setenv("ND_PATH", dir.c_str(), 1);
}

void setAllNfy(PanelPtr panel) {
  for (Int i = 0; i < PANEL_GetNumWgts(panel); i++) {
    WgtPtr w = PANEL_GetNthWgt(panel, i);
    if (TBUT_IsTBut(w)) RES_SetNfyProcDS(WGT_Res(w), buttonNfy, nullptr);
    if (PANEL_IsPanel(w)) setAllNfy(reinterpret_cast<PanelPtr>(w));
  }
}

}  // namespace

int main(int argc, char** argv) {
  const char* png = nullptr;
  bool list = false;
  for (int i = 1; i < argc; i++) {
    if (std::strcmp(argv[i], "--png") == 0 && i + 1 < argc) png = argv[++i];
    else if (std::strcmp(argv[i], "--list") == 0) list = true;
    else {
      std::fprintf(stderr, "usage: wgtdemo [--list] [--png FILE]\n");
      return 2;
    }
  }
  setResourcePath(argv[0]);
  ERR_Init();
  GW_LibInstall();
  GW_LibLoadInit();
  if (!DSPLY_IsOpen()) {
    std::fprintf(stderr, "wgtdemo: %s\n", DSPLY_GetLastError());
    return 1;
  }
  RLIB_LoadLibFile("wgtdemo", "wgtdemo.dat");
  WinPtr win;
  if (list) {
    win = LoadListDemo();
  } else {
    win = WIN_Load("wgtdemo", "TestWindow");
    addDemoMenus(win);
    WIN_Init(win);
    setAllNfy(WIN_Panel(win));
    WGT_Disable(WGT_FromRes(RES_GetNthChild(WGT_Res(WIN_Wgt(win)), 6)));
    WGT_GainFocus(WGT_FromRes(RES_GetNthChild(WGT_Res(WIN_Wgt(win)), 1)));
  }
  RES_SetNfyProcDS(WGT_Res(WIN_Wgt(win)), windowNfy, nullptr);
  WIN_Show(win);
  if (png) {
    // Runs until the window is on the screen and drawn, then saves it.
    int64_t deadline = DSPLY_Now() + 5000;
    while (DSPLY_Now() < deadline && !(WIN_HasFocus(win) && !EVENT_IsInvalPending())) {
      EVENT_ProcessPending();
      DSPLY_WaitForInput(20);
    }
    bool ok = WIN_SaveAsPng(win, png);
    if (!ok) std::fprintf(stderr, "wgtdemo: %s\n", DSPLY_GetLastError());
    WIN_TerminateGetStatus(win);
    EVENT_Update();
    endDemoMenus();
    GW_LibExit();
    return ok ? 0 : 1;
  }
  while (!gDone) {
    EVENT_ProcessPending();
    EVENT_UpdateCursor();
    DSPLY_WaitForInput(50);
  }
  endDemoMenus();
  GW_LibExit();
  return 0;
}
