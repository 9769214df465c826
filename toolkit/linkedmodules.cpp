// The toolkit's modules that the layers' chains reach through weak entries.
//
// A static archive member is linked into a program only when something
// refers to it strongly, and the chains' references are weak.  Taking the
// addresses of the entries here, from a function the chains call, makes
// every program that starts the toolkit link these modules: the event
// system, windows and widget classes, and the error window.
#include "toolkit/linkedmodules.h"

#include "toolkit/draw.h"
#include "toolkit/dsply.h"
#include "toolkit/errw.h"
#include "toolkit/event.h"
#include "toolkit/rgn.h"
#include "toolkit/tarea.h"
#include "toolkit/tbut.h"
#include "toolkit/ted.h"
#include "toolkit/wgtpub.h"
#include "toolkit/winpub.h"

int TK_LinkedModuleCount() {
  using Entry = void (*)();
  static volatile Entry const kEntries[] = {
      RGN_Init,          DRAW_Init,         EVENT_Init,         GRES_InstallClass,
      WGT_InstallClass,  WGT_InitClass,     PANEL_InstallClass, PANEL_InitClass,
      WIN_InstallClass,  WIN_InitClass,     TBUT_InstallClass,  TBUT_InitClass,
      TAREA_InstallClass, TAREA_InitClass,  DSPLY_UpdateLook,   ERRW_Init,
      TED_InstallClass,  TED_InitClass,
  };
  using DisplayEntry = void (*)(int);
  static volatile DisplayEntry const kDisplayInit = DSPLY_Init;
  int linked = kDisplayInit ? 1 : 0;
  for (Entry entry : kEntries) linked += entry ? 1 : 0;
  return linked;
}
