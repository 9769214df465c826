// The shared drawing objects of the tools with windows, and their start-up.
#ifndef OWB_SHARED_UI_UIGLOBALS_H
#define OWB_SHARED_UI_UIGLOBALS_H

#include "shared/globals.h"
#include "toolkit/color.h"
#include "toolkit/font.h"

// The colours, pens, pattern and fonts that all tools share.  Stock
// objects of the toolkit or kept by it for the program's life: never
// disposed.  Null until initializeGlobals has loaded them.
extern ColorPtr gHiliteColor, gHiliteLighterColor, gHiliteDarkerColor;
extern ColorPtr gBlackColor, gGrayColor, gLightGrayColor, gRedColor, gYellowColor, gGreenColor;
extern ColorPtr gLightYellowColor, gLightRedColor, gLightGreenColor, gGrayTextColor;
extern ColorPtr gTransparentColor, gInvisibleColor;
extern FontPtr gTextFont, gLabelFont;
extern PenPtr gSolidPen, gInvisiblePen;
extern PattPtr gEmptyPattern;

// The start-up of a tool with windows: initializeToolGlobals, then the
// shared drawing objects.  The toolkit must be started (GW_LibInstall,
// GW_LibLoadInit): the shared resource library "shared" is loaded from the
// installation, and a failure to load it, or one of its colours and fonts,
// is the toolkit's failure.  cleanUpGlobals undoes it.
void initializeGlobals(const char* toolName, int listenerPort);

// The shared resource library "shared" and the colours, pens, pattern and
// fonts every tool draws with (gResourcesDirectory must be set); the part
// of initializeGlobals that a program showing the shared windows alone
// needs.
void loadSharedDrawingObjects();

#endif  // OWB_SHARED_UI_UIGLOBALS_H
