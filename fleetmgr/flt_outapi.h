// The Fleet Manager's form of the fleet operations' output functions:
// alerts become alert windows, progress notes are dropped.
#ifndef OWB_FLEETMGR_FLT_OUTAPI_H
#define OWB_FLEETMGR_FLT_OUTAPI_H

#include "owbtypes.h"

// Installs the form below as the operations' output (fleet/output.h).
void installToolOutput();

// alertUser: an information alert titled category with the text details;
// the category "Killing process ..." never reaches here (the output layer
// drops it).
void toolAlertUser(const char* category, const char* details);
// fyiUser: nothing is shown.
void toolFyiUser(const char* category, const char* details, OWBboolean flag);
// reportFatalError: a warning alert; returns to the caller.
void toolReportFatalError(const char* category, const char* details);

#endif  // OWB_FLEETMGR_FLT_OUTAPI_H
