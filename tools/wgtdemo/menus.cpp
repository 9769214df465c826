// The demo window's menus.
#include "tools/wgtdemo/menus.h"

#include <cstdio>
#include <cstring>

#include "shared/ui/help.h"
#include "shared/messages.h"
#include "shared/tcpxport.h"
#include "toolkit/dsply.h"
#include "toolkit/mbar.h"

namespace {

constexpr const char* kWindowName = "WidgetDemo";
// How long the demo waits for the Tool Manager's help documents at start.
constexpr int kHelpDefaultsWaitMs = 300;

// Every widget of the window moves down by the bar's height, in the
// template's units, and the window grows by as much.
void makeRoomForBar(WinPtr win, MBarPtr bar) {
  int dpi = DSPLY_GetScreenDpi();
  int resourceDpi = win->DpiY > 0 ? win->DpiY : dpi;
  int16_t shift = static_cast<int16_t>((MBAR_GetHeight(bar) * resourceDpi + dpi - 1) / dpi);
  PanelPtr panel = WIN_Panel(win);
  for (Int i = 0; i < PANEL_GetNumWgts(panel); i++) PANEL_GetNthWgt(panel, i)->ResBox.Origin.Y += shift;
  WIN_Wgt(win)->ResBox.Extent.Y += shift;
}

void startHelp() {
  gMessageCenter = new MessageCenter();
  gToolManToolInfo.listenerPort = getToolManagerPort();
  gHelpManager = new HelpManager(FALSE, nullptr);
  if (gToolManToolInfo.listenerPort == 0) return;
  // The documents arrive as messages; a window's help menu holds those
  // known when it is built.
  int64_t deadline = DSPLY_Now() + kHelpDefaultsWaitMs;
  while (DSPLY_Now() < deadline && !(gHelpManager->viewerName && gHelpManager->menuNames->totalElements >= 4))
    gMessageCenter->poll();
}

}  // namespace

void addDemoMenus(WinPtr win) {
  startHelp();
  MBarPtr bar = MBAR_Create();
  MBAR_AddItem(bar, "&File");
  MenuPtr file = MENU_Create();
  MENU_AddItem(file, "&Close");
  MENU_CurSetAccelKey(file, EVENT_KEYNORMAL, EVENT_MODCONTROL, 'w');
  MBAR_CurSetSubMenu(bar, file);
  RES_Release(MENU_Res(file));

  MBAR_AddItem(bar, "&Edit");
  MenuPtr edit = MENU_Create();
  edit->UsePin = 1;  // the dashed line at its top tears it off
  MENU_AddItem(edit, "Show &Grid");
  MENU_CurSetCheckedMode(edit, MITEM_CHECKTOGGLE);
  MENU_CurSetChecked(edit, 1);
  MENU_AddItem(edit, "&Wrap Lines");
  MENU_CurSetCheckedMode(edit, MITEM_CHECKTOGGLE);
  MENU_CurSetAccelKey(edit, EVENT_KEYNORMAL, EVENT_MODCONTROL, 'l');
  MENU_AddSeparator(edit);
  MENU_AddItem(edit, "&Undo");
  MENU_CurSetEnabled(edit, 0);
  MBAR_CurSetSubMenu(bar, edit);
  RES_Release(MENU_Res(edit));

  WIN_SetMenuBar(win, bar);
  RES_Release(MBAR_Res(bar));
  gHelpManager->addMenu(win);
  makeRoomForBar(win, bar);
}

bool handleDemoMenus(WinPtr win, Int message, bool* closeWindow) {
  if (!gHelpManager) return false;
  if (message == WIN_NFYKEYCHAR) return gHelpManager->checkHelpKey(kWindowName, win, nullptr);
  if (message != WIN_NFYSELMENUBAR) return false;
  if (gHelpManager->handleHelpMItems(win, kWindowName, nullptr)) return true;
  MenuPtr menu = MBAR_ChosenGetMenu(WIN_GetMenuBar(win));
  const char* label = MENU_ChosenGetLabel(menu);
  if (!label) return true;
  MItemPtr item = MENU_ChosenGetItem(menu);
  std::printf("%s%s\n", MITEM_ParseLabel(label).Text.c_str(),
              item->CheckType != MITEM_CHECKNONE ? (item->Checked ? " on" : " off") : "");
  std::fflush(stdout);
  if (std::strcmp(label, "&Close") == 0) *closeWindow = true;
  return true;
}

void endDemoMenus() {
  delete gHelpManager;
  gHelpManager = nullptr;
  delete gMessageCenter;
  gMessageCenter = nullptr;
}
