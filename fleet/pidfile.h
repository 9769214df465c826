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

// The process id that text names: a plain decimal number (digits only)
// above 1 that a pid_t holds; 0 for anything else.  0, 1 and -1 never
// come out, so that no probe or signal can reach this process's group,
// init or every process the user may signal.
pid_t processIDFromText(const char* text);

// processIDFromText of the first line (read up to 80 bytes); 0 when there
// is no file or no line.
int getProcessID(const char* fleetDir, const char* processLabel);

// Removes the pid file; the result is not examined.
void removePidFile(const char* fleetDir, const char* processLabel);

// True when signal 0 reaches the group -pid or, failing that, the process.
// False without a probe for a pid of 1 or below.
bool processOrGroupExists(pid_t pid);

// 1 when the labelled process runs, else 0 (callers test for zero).  A pid
// file without a valid or living process is removed, unless it has been
// rewritten since it was read.
OWBboolean isRunning(const char* fleetDir, const char* processLabel);

// True when any pid file of the fleet directory names a running process;
// stale pid files met on the way are removed.  False when the directory
// can't be opened.
OWBboolean fleetIsRunning(const char* fleetDir);

// Stops the labelled process: SIGINT to its group and to it, up to
// stopPatienceRounds() rounds of one second repeating SIGINT, then SIGKILL
// when both group and process are still there.  True when there was
// nothing to stop or it has been stopped, with the pid file removed unless
// a process of the label started meanwhile has written its own; false
// when no signal could be delivered.
OWBboolean stopProcess(const char* fleetDir, const char* processLabel);

#endif  // OWB_FLEET_PIDFILE_H
