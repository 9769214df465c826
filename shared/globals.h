// Process-wide globals of a tool and their start-up.
#ifndef OWB_SHARED_GLOBALS_H
#define OWB_SHARED_GLOBALS_H

#include "owbtypes.h"
#include "shared/log.h"

extern char* gToolName;       // heap copy of the tool's name
extern long gMaxOWBLogSize;   // bytes; 409600 until OWB_LOG_SIZE says otherwise
extern fileNameType gOwbDirectory;        // $OWB with a trailing "/"
extern fileNameType gResourcesDirectory;  // $OWB/bin/resource/

constexpr long kDefaultMaxLogSize = 409600;

// Sets up what the shared library rests on, without a window: the tool's
// name, the log, the random numbers, the message center, the Tool
// Manager's port, the installation's directories and the log settings.  A
// tool passes listenerPort 0; the Tool Manager passes its port, and only
// then is an oversized log emptied.  Ends the process with exit(-1) when
// OWB is unset or empty.  A tool with windows calls initializeGlobals
// (shared/ui/uiglobals.h), which also loads the shared drawing objects.
void initializeToolGlobals(const char* toolName, int listenerPort);

// The parts of initializeToolGlobals that a program without windows or an
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

// The window side's start and end (its window manager), run by
// initializeToolGlobals right after the message center is made and by
// cleanUpGlobals before anything else goes, so that the window manager can
// register its handlers and still send its last messages.  A tool with
// windows installs them through initializeGlobals; null by default.
void setWindowSideHooks(void (*start)(int listenerPort), void (*end)());

// Deletes what initializeToolGlobals made, in reverse dependence order;
// after the tool's name it runs the window side's clean-up, if one is
// installed (the help manager's, which the core cannot delete itself).
void cleanUpGlobals();
void setWindowSideCleanUp(void (*cleanUp)());

#endif  // OWB_SHARED_GLOBALS_H
