// What the settings window, the engine place configuration dialog and the
// add dialogs share: reaching children by path, the button rule, drawing a
// list cell's text, the file chooser they ask for names, and the engine
// place configuration dialogs that are open.
#ifndef OWB_FLEETMGR_SETTINGSUI_H
#define OWB_FLEETMGR_SETTINGSUI_H

#include <cstddef>
#include <initializer_list>

#include "owbtypes.h"
#include "toolkit/lbox.h"
#include "toolkit/res.h"
#include "toolkit/tbut.h"
#include "toolkit/winpub.h"

class FleetObject;

// The child of root reached by the indices of path in turn; null when one
// is missing.
ResPtr childAt(ResPtr root, std::initializer_list<Int> path);
// The same, checked for its class: null when it is of another class.
LBoxPtr listAt(ResPtr root, std::initializer_list<Int> path);
TButPtr buttonAt(ResPtr root, std::initializer_list<Int> path);

inline ResPtr winRes(WinPtr win) { return reinterpret_cast<ResPtr>(win); }
// The FleetObject held in the user data of res's window; null when none.
FleetObject* fleetOfWindow(ResPtr res);

// The button rule of these windows: focus gained and lost are ignored, a
// hit runs action on the button, everything else goes to the default.
template <void (*action)(ResPtr)>
long onHitNfy(ResPtr res, Int message, ClientPtr data) {
  if (message == WGT_NFYGAINFOCUS || message == WGT_NFYFOCUSLOST) return 0;
  if (message == TBUT_NFYHIT) {
    action(res);
    return 0;
  }
  return TBUT_DefNfy(res, message, data);
}

// Draws a list cell with drawCellString; a cell without text (null) is
// drawn by the list itself.  data is the drawing message's record.
void drawListCell(ResPtr list, ClientPtr data, const char* text);

// Selects the current cell alone (its whole row when wholeRow) without the
// list's highlight messages being taken for a click on it.
void selectListCellQuietly(LBoxPtr list, bool wholeRow);

// What the settings lists share: every cell is drawn by drawCell (with the
// drawing message's record), a cell whose selection highlight changes is
// taken as a click on it (the list reports the highlight before the click;
// intended), focus highlights draw nothing, and a click selects the cell
// alone, or its row.  Returns true for a click, once the cell is selected;
// otherwise false with the procedure's answer in *answer.
bool settingsListClicked(ResPtr res, Int message, ClientPtr data, void (*drawCell)(ResPtr, ClientPtr), bool wholeRow,
                         long* answer);

// Asks the user for a file: mode 1 lists files; pattern as "*.cfg" or
// "*.s;*.wcp".  Fills filename (size bytes) and returns true when one was
// chosen.
typedef bool (*SettingsFileChooser)(int mode, char* filename, size_t size, const char* prompt, const char* pattern,
                                    bool mustExist, bool confirmOverwrite);
bool chooseSettingsFile(int mode, char* filename, size_t size, const char* prompt, const char* pattern,
                        bool mustExist, bool confirmOverwrite);
// Replaces the chooser (null: the tool's file picker); returns the
// previous one.
SettingsFileChooser setSettingsFileChooser(SettingsFileChooser chooser);

// True when dialog is the engine place configuration dialog of a
// registered fleet, that is, still open.
bool isOpenEngPlaceDialog(WinPtr dialog);
// Ends every open engine place configuration dialog (before the
// configuration their lists show is replaced).
void closeEngPlaceDialogs();

// Shows an entry just added to folder of the configuration in dialog's
// list: a row at the top, selected.  Nothing when dialog shows another
// folder (the entry shows when that folder is chosen).
class StringTupleItem;
void showAddedEntry(WinPtr dialog, int folder, StringTupleItem* item);

#endif  // OWB_FLEETMGR_SETTINGSUI_H
