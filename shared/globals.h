// Process-wide globals of a tool and their start-up.
#ifndef OWB_SHARED_GLOBALS_H
#define OWB_SHARED_GLOBALS_H

#include "owbtypes.h"
#include "shared/log.h"
#include "toolkit/color.h"
#include "toolkit/font.h"

extern char* gToolName;       // heap copy of the tool's name
extern long gMaxOWBLogSize;   // bytes; 409600 until OWB_LOG_SIZE says otherwise
extern fileNameType gOwbDirectory;        // $OWB with a trailing "/"
extern fileNameType gResourcesDirectory;  // $OWB/bin/resource/

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

constexpr long kDefaultMaxLogSize = 409600;

// Sets up what the shared library rests on.  A tool passes listenerPort 0;
// the Tool Manager passes its port, and only then is an oversized log
// emptied.  Ends the process with exit(-1) when OWB is unset or empty.
// The toolkit must be started (GW_LibInstall, GW_LibLoadInit): the shared
// resource library "shared" is loaded from the installation, and a
// failure to load it, or one of its colours and fonts, is the toolkit's
// failure.
void initializeGlobals(const char* toolName, int listenerPort);

// The parts of initializeGlobals that a program without windows or an
// installation (the Tool Manager) uses alone.  openToolLog opens owblog in
// the preferences directory, emptying it first when mayTrim and it has
// grown past gMaxOWBLogSize; seedRandomNumbers seeds rand from the time and
// gToolName; readLogSettings reads OWB_LOGLEVEL and OWB_LOG_SIZE.
void openToolLog(bool mayTrim);
void seedRandomNumbers();
void readLogSettings();
// Sets gOwbDirectory and gResourcesDirectory from OWB; logs and ends the
// process with exit(-1) when OWB is unset or empty.  A tool that needs the
// resources directory before initializeGlobals (to start the toolkit) may
// call it early.
void readOwbDirectory();

// Deletes what initializeGlobals made, in reverse dependence order.
void cleanUpGlobals();

#endif  // OWB_SHARED_GLOBALS_H
