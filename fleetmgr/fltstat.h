// The fleet status window: one row for every process of a fleet, engines
// and external processes alike, with whether it is up, and buttons to
// refresh the rows and to start or kill the process of the selected row.
// Also drawCellString, the one cell drawing routine of every list of the
// tool.
//
// Template "fleetStatusWindow" of the resource library "fleetmgr"; its
// child order is the contract: 0 update, 1 close, 2 kill, 3 run, 4 the list
// box, 5 poll toggle, 6 poll interval text in seconds.  The last two are
// kept hidden and disabled: refreshing on a timer is present but not
// offered.  The window's user data (ClientData) is its FleetObject, one
// window per fleet in FleetObject::fleetStatusWindow.
//
// Contracts: each row owns five 32-byte buffers (columns 5 to 9), freed
// when the list deletes the row's cells; the other cells point at shared
// texts or into the fleet's fleetStatus list, so every replacement of that
// list is followed at once by setStatusData.
#ifndef OWB_FLEETMGR_FLTSTAT_H
#define OWB_FLEETMGR_FLTSTAT_H

#include "fleet/psfleet.h"
#include "toolkit/lbox.h"

struct _WinObj;
typedef _WinObj* WinPtr;

// The texts of the Type and Status columns.  A Status cell holds the
// address of one of the two, and is compared by address.
extern const char* const gEngineProcessStr;    // "Engine"
extern const char* const gExternalProcessStr;  // "External Process"
extern const char* const gFossilProcessStr;    // "Fossil"
extern const char* const gStatusUpStr;         // "Up"
extern const char* const gStatusDownStr;       // "Down"

// A column of the status list: its heading and its width at 96 dots per
// inch (the list scales it to the screen).
struct fleetListInfo {
  const char* heading;
  Int width;
};
enum { kFleetStatusColumns = 9 };
extern const fleetListInfo gFleetStatusHeadingInfo[kFleetStatusColumns];

// Draws the current cell of lbox: its background (the highlight colour
// when selected), then dataStr, if not null, inset by 4 pixels.  Headings
// (row 0) in the label font, the rest in the text font.  Does nothing
// outside a cell drawing message of the list box.
void drawCellString(LBoxPtr lbox, const char* dataStr);

// Column widths and headings from gFleetStatusHeadingInfo.
void setHeadings(LBoxPtr lbox);
// Empties the list and fills one row per record of the chain data (null
// for none).  The selection is cleared.
void setStatusData(LBoxPtr lbox, fleetProcessInfo* data);
// Enables run or kill of win for the selected row's state; both disabled
// when no row is selected.
void setButtonStates(WinPtr win, LBoxPtr lbox);

// The list box notification procedure of the status list (exposed for the
// tests of the cell buffers).
long theLBoxNfy(ResPtr res, Int message, ClientPtr data);

// Refreshing on a timer, kept dormant: present, but neither procedure is
// installed, and the toggle and interval text stay hidden and disabled.
// pollButtonNfy starts (toggle on) or stops the alarm that calls doPoll
// with the window every interval; doPoll refreshes the rows and starts the
// next alarm; pollIntervalNfy is the interval text's procedure.
void doPoll(ClientPtr win);
long pollButtonNfy(ResPtr res, Int message, ClientPtr data);
long pollIntervalNfy(ResPtr res, Int message, ClientPtr data);

#endif  // OWB_FLEETMGR_FLTSTAT_H
