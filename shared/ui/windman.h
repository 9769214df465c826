// The window bookkeeping of a tool: one WindowManager (gWindowManager)
// keeps a record of every open window, so that the Tool Manager can show,
// minimise or close all of them with one message (SHOW, HIDE, CWIN), a new
// window gets its remembered place from the Tool Manager (GWIN) and gives
// it back when it goes (UWIN), and of several windows of one type one is
// the active viewer.
//
// Contracts:
// - Made after gMessageCenter (its constructor registers the handlers) and
//   deleted before it (removing the records still sends UWIN).
// - addWindowRec blocks until the Tool Manager answers GWIN, at most the
//   reply timeout (5 s), running no events and no handlers meanwhile.
// - A record holds a reference to its window, so a window terminated
//   before its record is removed is never freed under the list.  The
//   owner removes the record when the window ends (typically on
//   WIN_NFYTERMINATE) and deletes what removeWindowRec returns.
#ifndef OWB_SHARED_UI_WINDMAN_H
#define OWB_SHARED_UI_WINDMAN_H

#include "owbtypes.h"
#include "shared/errors.h"
#include "shared/messages.h"
#include "toolkit/tbut.h"
#include "toolkit/winpub.h"

constexpr TypeIdent kSourceViewerWindowType = OWB_TYPE("SRCW");
constexpr TypeIdent kFilePickerWindowType = OWB_TYPE("FPKW");

typedef void (*SetActiveViewerProcPtr)(WinPtr win, TButPtr tbut, Boolean active);

struct ToolWindowRec {
  TypeIdent winType;
  WinPtr win;
  TButPtr tbut;       // the window's tool button, may be null
  void* refCon;       // the owner's; 0 at creation
  Boolean activeViewer;
  _Rect16Rec windowRect;  // the place received from the Tool Manager
  long uniqueID;          // the window's number received from the Tool Manager
  SetActiveViewerProcPtr callback;  // may be null
  ToolWindowRec* next;
  ToolWindowRec* prev;
};
typedef ToolWindowRec* ToolWindowRecPtr;

// A window's rectangle on the wire: origin x, origin y, width, height, four
// 16-bit big-endian values.
constexpr size_t kWindowRectWireSize = 8;
void windowRectToWire(const _Rect16Rec& rect, uint8_t wire[kWindowRectWireSize]);
_Rect16Rec windowRectFromWire(const uint8_t wire[kWindowRectWireSize]);

class WindowManager : public HasErrorReporting {
 public:
  // Registers SHOW, HIDE and CWIN, and DSRC unless forToolManager.
  explicit WindowManager(Boolean forToolManager);
  // Removes every record from the head on (each sends its UWIN) and the
  // handlers.
  ~WindowManager();
  WindowManager(const WindowManager&) = delete;
  WindowManager& operator=(const WindowManager&) = delete;

  // Asks the Tool Manager for the window's place, moves the window there
  // when it has one, links the new record at the head and makes the window
  // its type's active viewer.  Returns the record, which the list owns.
  ToolWindowRecPtr addWindowRec(TypeIdent winType, WinPtr win, TButPtr tbut, SetActiveViewerProcPtr callback);
  // Unlinks the window's record and gives the place back (UWIN; DSRC first
  // for the active source viewer).  The caller deletes the record.  Null,
  // and nothing sent, for an unknown window.
  ToolWindowRecPtr removeWindowRec(WinPtr win);
  // -701 in lastError when not found.
  ToolWindowRecPtr getWindowRec(WinPtr win);
  Boolean windowTypeExists(TypeIdent winType);
  // The first record of the type that is the active viewer; -701 when none.
  ToolWindowRecPtr getActiveViewer(TypeIdent winType);
  // Only when the head record has a tool button: with status true the
  // window becomes the one active viewer of its type (each record of the
  // type hears of its state through its callback); with false it alone
  // stops being active.  Source viewers tell the Tool Manager (ASRC, DSRC).
  void setActiveViewer(WinPtr win, Boolean status);
  // Shows (visibility), minimises (not visibility) or closes
  // (closeWindows) every window.  Windows whose records go while this runs
  // are passed over.
  void setAllWindowsVisibility(Boolean visibility, Boolean closeWindows);
  // A message without parameters to the Tool Manager, no reply wanted.
  void sendToolManagerMsg(TypeIdent msgType);

  static ErrorCode showAllWindowsMsg(Message* message, Message* reply);
  static ErrorCode hideAllWindowsMsg(Message* message, Message* reply);
  static ErrorCode closeAllWindowsMsg(Message* message, Message* reply);
  static ErrorCode deactivateSourceViewerMsg(Message* message, Message* reply);

  WinPtr activeViewerWin;  // 0; kept for the record layout, nothing reads it
  Boolean isToolManager;
  ToolWindowRecPtr firstWindow;

 private:
  void registerHandlers();
  void unlink(ToolWindowRecPtr rec);
};

extern WindowManager* gWindowManager;

#endif  // OWB_SHARED_UI_WINDMAN_H
