// The rules of the file picker apart from its window: what the disk list
// shows, what a row puts in the selection field, what accepting a name
// does, the search below a directory, and the Tool Manager's requests
// about the picker's directory and the project's components.
//
// Contracts: directories are given without a trailing "/" except the top
// directory "/"; every name and path may hold any bytes but NUL.  Nothing
// here keeps a pointer it was given.
#ifndef OWB_SHARED_UI_PICKRULES_H
#define OWB_SHARED_UI_PICKRULES_H

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "owbtypes.h"
#include "shared/messages.h"
#include "shared/wild.h"

// --- The disk list -----------------------------------------------------------

struct PickerRow {
  std::string name;  // ".", "..", or an entry of the directory
  int nodeType;      // FMGR_NODE..., of the entry the row names
};

// The rows of the disk list for directory: "." and, below the top, "..",
// then the entries in byte order: in a file chooser every directory and
// the other entries that the filter matches; in a directory chooser only
// the directories that it matches.  An unreadable directory gives no entry
// rows.  *filesInList is the number of entries plus 2, whether or not ".."
// was listed.
std::vector<PickerRow> pickerListDirectory(const std::string& directory, WildCardList* filter,
                                           bool directoryChooser, long* filesInList);

// The text a row of the disk list puts in the selection field: for "."
// the directory and "/" ("/" alone at the top); for ".." the parent with
// its "/"; for an entry the path, with "/" after a directory.
std::string pickerSelectionForRow(const std::string& directory, const std::string& name, int nodeType);

// The name with every trailing "/" removed, but never its first character.
std::string pickerStripTrailingSlashes(const std::string& name);

// A name as the list shows it: control bytes as \n, \t or \xHH, bytes that
// are no UTF-8 as \xHH, and "\" as "\\", so every name is one readable line.
std::string pickerDisplayName(const std::string& name);

// True when the filter text differs from the filter in use (an empty text
// standing for "*"); the caller then makes a new filter with
// pickerFilterText.
bool pickerFilterChanged(WildCardList* filter, const std::string& text);
std::string pickerFilterText(const std::string& text);

// --- Accepting ---------------------------------------------------------------

// What a use of the picker knows when a name is accepted.  beep and ask are
// replaceable for tests; by default the display's bell and the alert.
struct PickerChoice {
  std::string currentDirectory;
  bool mustExist = false;
  bool confirmOverwrite = false;
  bool diskMode = true;
  int warningLevel = 1;
  std::string result;
  std::function<void()> beep;
  std::function<long(const char* text, long type, const char* title, const char* b1, const char* b2,
                     const char* b3)>
      ask;
  PickerChoice();
};

enum PickerAcceptOutcome {
  kPickerStay = 0,       // the dialog goes on
  kPickerClose = 1,      // result holds the choice
  kPickerEntered = 2     // currentDirectory changed: the list is to be filled again
};

// A file chooser's accept of the selection text: asks before replacing a
// file (unless mustExist), enters a directory, refuses a missing name
// with mustExist, else takes the name.
PickerAcceptOutcome pickerAcceptSelection(PickerChoice* choice, const std::string& selection);
// A directory chooser's accept: a name that is no directory, with
// mustExist, beeps the first time, gives an alert the second, and starts
// over; otherwise the name is taken.
PickerAcceptOutcome pickerAcceptDirectory(PickerChoice* choice, const std::string& selection);

// --- Find ----------------------------------------------------------------------

// What the search does with a match: take it, go on, or stop with nothing.
enum PickerFoundAnswer { kPickerSelect = 1, kPickerContinue = 2, kPickerCancel = 3 };

struct PickerSearch {
  WildCardList* filter = nullptr;
  bool directoryChooser = false;
  // Asked at each match; by default the alert "Found %s" with Select,
  // Continue and Cancel.
  std::function<PickerFoundAnswer(const std::string& path)> offer;
  // Called with a count that grows with each entry seen (the wait cursor's
  // frame); answering true stops the search with nothing.
  std::function<bool(long frame)> progress;
  // Directories deeper than this below the start are not entered.
  int maxDepth = 1000;
};

// Searches below directory, depth first in byte order of the names, for
// an entry the filter matches: in a file chooser any entry that is no
// directory; in a directory chooser a directory, which is then not entered.
// Every directory is walked at most once (links that loop are passed
// over), unreadable ones are passed over.  Returns the path selected, or "".
std::string pickerSearch(const std::string& directory, const PickerSearch& search);

// --- The Tool Manager ------------------------------------------------------------

// GCFP: the directory the picker last stood in, when the Tool Manager
// knows one and it is a directory; else "".
std::string pickerAskDirectory();
// SCFP with the directory, unless it is empty.
void pickerTellDirectory(const std::string& directory);

// The component types of a GCCP reply (parameter 0, then pairs of a label
// and a type), without the types ENGN and MISS.  A reply of the wrong form
// (an odd count, a pair of other types) gives false, with a log line.
bool pickerComponentTypes(const Message* reply, std::vector<std::pair<std::string, TypeIdent>>* types);
// The rows of a GFCP reply: one per parameter from 1 up to the number of
// parameters, so the last row is empty.  False, with a log line, for an
// error code other than 0 or parameters that are no text.
bool pickerProjectFiles(const Message* reply, std::vector<std::string>* rows);
// GCCP and GFCP asked of the Tool Manager; null (logged) without a reply.
Message* pickerAskComponentTypes();
Message* pickerAskProjectFiles(TypeIdent componentType);

#endif  // OWB_SHARED_UI_PICKRULES_H
