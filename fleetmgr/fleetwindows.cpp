// What the fleet windows share.
#include "fleetmgr/fleetwindows.h"

#include <cstdint>
#include <cstdio>
#include <vector>

#include "fleetmgr/fleetmgr.h"
#include "shared/ui/filepick.h"
#include "toolkit/icon.h"
#include "toolkit/pfld.h"
#include "toolkit/rclas.h"
#include "toolkit/winpub.h"


Boolean chooseFleetDirectory(char* directory, size_t size) {
  if (!directory || size == 0) return FALSE;
  directory[0] = '\0';
  fileNameType chosen;
  if (!chooseDirectory(chosen, "Enter a directory name for the fleet", "", "*", FALSE)) return FALSE;
  std::snprintf(directory, size, "%s", chosen);
  return TRUE;
}

void terminateFleetWindow(WinPtr win) {
  if (!win) return;
  reinterpret_cast<ResPtr>(win)->ClientData = nullptr;
  WIN_TerminateGetStatus(win);
}

void setFleetWindowIcon(WinPtr win) {
  ResPtr icon = gFleetMgrIcon;
  if (!win || !icon || !ICON_IsIcon(icon)) return;
  PFldPtr shapeField = RCLAS_FindField(icon->ResClass, "Shape");
  const char* shape = shapeField ? PFLD_GetStr(icon, shapeField) : nullptr;
  _Point16Rec size = ICON_GetSize(icon);
  if (!shape || !*shape || size.X <= 0 || size.Y <= 0) return;
  // Window managers show the icon larger than its 16 units: drawn at
  // 64 pixels a side it stays sharp there.
  constexpr int kIconPixels = 64;
  std::vector<uint32_t> argb = ICON_RenderShape(shape, size.X, size.Y, kIconPixels, kIconPixels);
  if (argb.size() == static_cast<size_t>(kIconPixels * kIconPixels))
    WIN_SetIcon(win, kIconPixels, kIconPixels, argb.data());
}
