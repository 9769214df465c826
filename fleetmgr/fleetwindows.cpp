// What the fleet windows share, and those not built yet, which say through
// the alert that they are not available.
#include "fleetmgr/fleetwindows.h"

#include <cstdint>
#include <vector>

#include "fleetmgr/fleetmgr.h"
#include "shared/alert.h"
#include "toolkit/pfld.h"
#include "toolkit/rclas.h"
#include "toolkit/winpub.h"

const char* const kWindowNotAvailableText = "This window is not available in this version of the Fleet Manager.";

namespace {

void windowNotAvailable(const char* title) {
  displayAlertWindow(kWindowNotAvailableText, kAlertInformation, title, nullptr, nullptr, nullptr, TRUE,
                     nullptr);
}

}  // namespace

Boolean chooseFleetDirectory(char* directory, size_t size) {
  if (directory && size > 0) directory[0] = '\0';
  windowNotAvailable("New Fleet");
  return FALSE;
}

void terminateFleetWindow(WinPtr win) {
  if (!win) return;
  reinterpret_cast<ResPtr>(win)->ClientData = nullptr;
  WIN_TerminateGetStatus(win);
}

void setFleetWindowIcon(WinPtr win) {
  ResPtr icon = gFleetMgrIcon;
  if (!win || !icon) return;
  PFldPtr widthField = RCLAS_FindField(icon->ResClass, "Width");
  PFldPtr heightField = RCLAS_FindField(icon->ResClass, "Height");
  PFldPtr bitsField = RCLAS_FindField(icon->ResClass, "Bits");
  if (!widthField || !heightField || !bitsField) return;
  long width = PFLD_GetInt(icon, widthField), height = PFLD_GetInt(icon, heightField);
  const _DataRec* bits = PFLD_GetData(icon, bitsField);
  if (width <= 0 || height <= 0 || width > 256 || height > 256 || !bits || !bits->Data) return;
  // One bit a pixel, rows padded to whole bytes, the first pixel in the
  // high bit: set bits are drawn dark on a light tile.
  const long rowBytes = (width + 7) / 8;
  std::vector<uint32_t> argb(static_cast<size_t>(width * height));
  for (long y = 0; y < height; y++)
    for (long x = 0; x < width; x++) {
      size_t at = static_cast<size_t>(y * rowBytes + x / 8);
      bool set = at < bits->Size && (bits->Data[at] >> (7 - x % 8)) & 1;
      argb[static_cast<size_t>(y * width + x)] = set ? 0xff203c78u : 0xffe8eef8u;
    }
  WIN_SetIcon(win, static_cast<Int>(width), static_cast<Int>(height), argb.data());
}
