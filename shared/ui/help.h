// The help manager: help documents are HTML files shown by an external
// viewer program.  The manager builds the help menu of a tool's windows,
// maps menu choices and the F1 key to a document and an anchor, and starts
// the viewer.  The Tool Manager owns the defaults (the viewer's name and
// the list of documents) and every tool asks it for them at start.
//
// Anchors: "OWBWin:<window name>" for a window, "OWBMenu:<window
// name>:<item label>" for a menu item, the label without blanks and "&".
//
// Contracts:
// - One manager per process, in gHelpManager, made by the tool last in its
//   start-up and deleted by cleanUpGlobals (the constructor installs that
//   clean-up).  Its constructor registers
//   message handlers with gMessageCenter, which must exist.
// - Strings passed in are copied; nothing returned is owned by the caller.
// - The viewer's command line is built in a Str255 and run unquoted
//   through the shell ("viewer path#anchor&"): a viewer name or document
//   path with blanks or shell characters is taken as the environment's own
//   configuration gives it.  A line that would not fit is not run.
#ifndef OWB_SHARED_UI_HELP_H
#define OWB_SHARED_UI_HELP_H

#include "owbtypes.h"
#include "shared/helpdefaults.h"
#include "shared/list.h"
#include "shared/messages.h"
#include "toolkit/tbut.h"
#include "toolkit/winpub.h"

// The labels of the two items every help menu ends with.
constexpr const char* kMenuItemHelpLabel = "&Menu Item";
constexpr const char* kThisWindowHelpLabel = "&This Window";

// Attached to the hidden help button of a modal window (owned copies).
struct ModalClientData {
  ModalClientData(const char* window, const char* file);
  ~ModalClientData();
  ModalClientData(const ModalClientData&) = delete;
  ModalClientData& operator=(const ModalClientData&) = delete;
  char* windowName;
  char* helpFile;
};

class HelpManager {
 public:
  // In the Tool Manager (isToolManager): the viewer newViewerName, or
  // "netscape" when null, the four default items, and the HGDM handler.
  // In a tool: the HDTM and HMEM handlers, then HGDM to the Tool Manager,
  // whose answer arrives later through the main loop.
  HelpManager(Boolean isToolManager, const char* newViewerName);
  virtual ~HelpManager();
  HelpManager(const HelpManager&) = delete;
  HelpManager& operator=(const HelpManager&) = delete;

  // Builds the help menu on the window's menu bar (made when the window has
  // none): the document items known now, then "&Menu Item" (Ctrl+H) and
  // "&This Window" (F1); the bar item "&Help" is aligned to the right.
  void addMenu(WinPtr win);
  // Adds an item to the last menu of the bar, with the id widgetIndex and,
  // when keyLabel is not null, the accelerator (key, keycode, modifiers).
  void addMenuItem(WinPtr win, const char* menuItemLabel, Int16 widgetIndex, const char* keyLabel, char key,
                   Int keycode, UInt kbmods);
  // Gives a modal window, which has no menu, F1 help through a hidden
  // button.  helpFile null means "user.html".
  void addModalHelp(WinPtr win, const char* windowName, const char* helpFile);
  // For a window's procedure on WIN_NFYKEYCHAR: true when the key was F1,
  // and then the window's help is shown.
  Boolean checkHelpKey(const char* windowName, WinPtr win, const char* helpFile);
  // For a window's procedure on WIN_NFYSELMENUBAR: true when the choice
  // was help's (and shown); false lets the window handle its item.
  Boolean handleHelpMItems(WinPtr win, const char* windowName, const char* helpFile);
  // Resolves file through the Tool Manager (asking the user when it
  // cannot) and starts the viewer on it, at the anchor when there is one.
  // With a window, the F1 key's repeats of the next second are eaten.
  void showHelp(const char* file, const char* anchor, WinPtr win);
  void showMenuHelpWin(const char* file, const char* menuLabel, const char* windowName);
  void addHelpMItem(const char* name, const char* docPath);
  void setViewerName(const char* newName);  // null leaves none
  void sendViewerNameMessage(const ToolInfo* destinationTool);

  static ErrorCode getHelpDefaultsMsg(Message* message, Message* reply);
  static ErrorCode addDefaultToolMsg(Message* message, Message* reply);
  static ErrorCode addMenuItemMsg(Message* message, Message* reply);
  static long helpTButNfy(ResPtr tbut, Int code, ClientPtr data);

  char* viewerName = nullptr;
  List* menuNames;
  List* docPaths;
  char* lastMenuLabel = nullptr;  // not used
  Boolean showMenuHelp = FALSE;
  const char* keys = "F1";  // the accelerator of the hidden help button
};

extern HelpManager* gHelpManager;

// The anchor of a menu item: "OWBMenu:<window>:<label>" with blanks and
// "&" left out of the label, cut to fit a Str255.
void helpMenuAnchor(char* anchor, size_t size, const char* windowName, const char* menuLabel);

#endif  // OWB_SHARED_UI_HELP_H
