// The output views of the fleet status window: a double click (or Return)
// on a row opens a source window on that process's output file,
// <fleetDir>/<label>.out, which bin/run_prog writes, and follows the file
// as it grows.
//
// Contracts:
// - One view per file: asking again for a file already shown brings its
//   window to the front.
// - A view is registered with the window manager (gWindowManager, when the
//   tool has one) as a source viewer, SRCW, and its record goes when the
//   view ends.
// - A view opens beside its status window (kept on screen) unless the
//   Tool Manager remembers a place for source viewers.
// - A view belongs to the status window it was opened from and ends with
//   it; a view the user closes is forgotten and freed on its own.
#ifndef OWB_FLEETMGR_FLTSTATOUT_H
#define OWB_FLEETMGR_FLTSTATOUT_H

struct _WinObj;
typedef _WinObj* WinPtr;

// Opens, or brings to the front, the view of labelText's output in fleetDir
// for statusWindow.  False, with an alert saying why and nothing opened,
// when the file does not exist or cannot be shown.
bool openProcessOutput(WinPtr statusWindow, const char* fleetDir, const char* labelText);

// Ends the views opened from statusWindow; every view for null.
void closeProcessOutputs(WinPtr statusWindow);

// The views open now.
int processOutputViewCount();

#endif  // OWB_FLEETMGR_FLTSTATOUT_H
