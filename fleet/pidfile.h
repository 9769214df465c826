// Pid files and the processes they name.
//
// A process started for a fleet is recorded by bin/run_prog in
// <fleetDir>/<label>.pid: its process id (also its process group id) on
// the first line, then the command line, then, for an engine, its UDP,
// debugger and TCP ports.  The fleet operations only read and remove these
// files.  A process is Absent (no pid file), Running (the first line names
// a process or group that signal 0 reaches) or Stale (anything else);
// isRunning turns Stale into Absent by removing the file.
#ifndef OWB_FLEET_PIDFILE_H
#define OWB_FLEET_PIDFILE_H

#include <sys/types.h>

#include <string>

#include "owbtypes.h"

// "<fleetDir>/<processLabel>.pid".
std::string pidFileName(const char* fleetDir, const char* processLabel);

// The process id of the first line (read up to 80 bytes); 0 when there is
// no file, no line, or a value below 1.
int getProcessID(const char* fleetDir, const char* processLabel);

// Removes the pid file; the result is not examined.
void removePidFile(const char* fleetDir, const char* processLabel);

// True when signal 0 reaches the group -pid or, failing that, the process.
bool processOrGroupExists(pid_t pid);

// 1 when the labelled process runs, else 0 (callers test for zero).  A pid
// file without a valid or living process is removed.
OWBboolean isRunning(const char* fleetDir, const char* processLabel);

// True when any pid file of the fleet directory names a running process;
// stale pid files met on the way are removed.  False when the directory
// can't be opened.
OWBboolean fleetIsRunning(const char* fleetDir);

// Stops the labelled process: SIGINT to its group and to it, up to
// stopPatienceRounds() rounds of one second repeating SIGINT, then SIGKILL
// when both group and process are still there.  True when there was
// nothing to stop or it has been stopped, with the pid file removed; false
// when no signal could be delivered.
OWBboolean stopProcess(const char* fleetDir, const char* processLabel);

#endif  // OWB_FLEET_PIDFILE_H
