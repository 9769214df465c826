// What belongs to a fleet and what of it runs.
//
// psFleet merges the definition (engines), the configuration (external
// processes) and the pid files (what was started) into a list of
// fleetProcessInfo records: engines first, then externals, then pid files
// that neither names ("fossils"), in directory order.  Unlike isRunning it
// never removes a pid file: a dead process shows with its old process id
// and isRunning 0.
#ifndef OWB_FLEET_PSFLEET_H
#define OWB_FLEET_PSFLEET_H

#include <sys/types.h>

#include <ctime>

#include "owbtypes.h"

struct PsFleetArgs {
  PsFleetArgs();

  fileNameType fleetDir;
  OWBboolean enginesOnly;
  OWBboolean externalsOnly;
  processLabelType specificProcess;  // when not empty, only this label
};

// processType values.
enum { kEngineProcess = 0, kExternalProcess = 1, kFossilProcess = 2 };

struct engineProcessInfo {
  long udpPort;
  long debuggerPort;
  long tcpPort;
};

// A plain heap record (malloc); freeFleetProcessInfo frees a whole list.
struct fleetProcessInfo {
  fleetProcessInfo* next;
  processLabelType processLabel;
  int processType;        // kEngineProcess, kExternalProcess or kFossilProcess
  OWBboolean isRunning;   // 1 or 0
  char* commandLine;      // malloc'd copy, or null
  pid_t processID;        // 0 until a pid file supplies it
  time_t startTime;       // the pid file's status-change time; 0 until then
  union {
    engineProcessInfo engData;  // zero until an engine's pid file supplies them
  } moreData;
};

// Builds the list into *listHead (set to null first); on true the caller
// owns it.  False only when the fleet directory can't be opened; the
// records built until then stay with the caller.
OWBboolean psFleet(PsFleetArgs* args, fleetProcessInfo** listHead);

// Frees each record and its commandLine and sets *listHead to null.  A
// null head is allowed.
void freeFleetProcessInfo(fleetProcessInfo** listHead);

#endif  // OWB_FLEET_PSFLEET_H
