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

// Sets up what the shared library rests on.  A tool passes listenerPort 0;
// the Tool Manager passes its port, and only then is an oversized log
// emptied.  Ends the process with exit(-1) when OWB is unset or empty.
void initializeGlobals(const char* toolName, int listenerPort);

// The parts of initializeGlobals that a program without windows or an
// installation (the Tool Manager) uses alone.  openToolLog opens owblog in
// the preferences directory, emptying it first when mayTrim and it has
// grown past gMaxOWBLogSize; seedRandomNumbers seeds rand from the time and
// gToolName; readLogSettings reads OWB_LOGLEVEL and OWB_LOG_SIZE.
void openToolLog(bool mayTrim);
void seedRandomNumbers();
void readLogSettings();

// Deletes what initializeGlobals made, in reverse dependence order.
void cleanUpGlobals();

#endif  // OWB_SHARED_GLOBALS_H
