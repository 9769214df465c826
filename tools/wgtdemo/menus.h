// The demo window's menu bar: File, Edit with check items, and the help
// menu of the help manager.
#ifndef OWB_TOOLS_WGTDEMO_MENUS_H
#define OWB_TOOLS_WGTDEMO_MENUS_H

#include "toolkit/winpub.h"

// Gives a loaded, not yet initialised window its menu bar, moving its
// widgets down below the bar and making it that much taller.  Starts the
// help manager, which asks a running Tool Manager for its documents.
void addDemoMenus(WinPtr win);
// The window procedure's part: a menu choice or the help key.  True when
// the message was taken; *closeWindow tells that File > Close was chosen.
bool handleDemoMenus(WinPtr win, Int message, bool* closeWindow);
// Ends the help manager and the message center.
void endDemoMenus();

#endif  // OWB_TOOLS_WGTDEMO_MENUS_H
