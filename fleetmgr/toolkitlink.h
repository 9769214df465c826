// What the tool needs around the toolkit's own start-up chain and loop:
// the search path of its resource libraries, the display, and serving
// tool messages inside the toolkit's error scheme.
#ifndef OWB_FLEETMGR_TOOLKITLINK_H
#define OWB_FLEETMGR_TOOLKITLINK_H

#include "toolkit/err.h"

// The tool's entry in the toolkit's error scheme (ERR_Master).
extern ErrMasterPtr FLEETMGR;

// Before the toolkit starts: ends the process with status 1 when OWB is
// unset or empty (nothing has gone to the Tool Manager yet), and otherwise
// makes $OWB/bin/resource the toolkit's search path unless the user has
// set one (ND_PATH, OIT_PATH, KNB_DATA), so that the toolkit finds its own
// libraries in the installation.
void prepareToolkitStart();

// After the toolkit's start-up: a tool whose every command opens a window
// is no use without a display, so when the display could not be opened
// this is a toolkit failure, reported by the toolkit, and the process ends
// before it registers with the Tool Manager.
void requireDisplay();

// One MessageCenter::poll of gMessageCenter in an error frame of its own:
// a toolkit failure inside a message handler (a window that could not be
// built) is reported the way the event loop reports failures, and the
// tool goes on serving.
void pollToolMessages();

#endif  // OWB_FLEETMGR_TOOLKITLINK_H
