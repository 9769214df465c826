// SourceWindow: a window that shows one file with a SourceView, a find
// field, a status line, and can follow the file as it grows.  The srcview
// program shows one; a tool may open several.
//
// Keys (the view has the focus):
//   arrows, Page Up/Down, Home/End, Ctrl+Home/End   scroll
//   Ctrl+F or /     to the find field, its text selected
//   F3, Ctrl+G, n   find the field's text again
//   F               follow the file on or off
//   Ctrl+W, q       close the window
// In the find field: Return finds the next match below the selection (the
// focus stays, so Return again goes on), F3 likewise, Escape goes back to
// the view; Tab moves between the two.  When there is no further match the
// selection stays, the display beeps and the status line says so.
// The "&File" menu holds the same commands; a "&View" menu of the other
// tools that show source (SourceView::initializeMenu) sends them the file.
// A double click makes the clicked line the highlighted target line; a
// click and drag selects text.
//
// Contracts:
// - SourceWindow::open gives a window on screen, or null with *error
//   saying why (the file cannot be shown).  The caller owns the object and
//   deletes it once isClosed() is true or when it wants the window gone.
// - setClosedHandler: the handler is called once, when the window has
//   ended (closed by the user, by its menu, or by the window manager), and
//   may delete the SourceWindow.  It is not called when the owner deletes
//   the object first.
// - With the automation surface on, the viewport's line carries the lines
//   in view, joined by newlines.
// - While following, the window looks at the file every followIntervalMs
//   (default 250, OWB_FOLLOW_INTERVAL overrides) from a toolkit alarm: the
//   event loop must run.
#ifndef OWB_SYMBOLS_UI_SRCWINDOW_H
#define OWB_SYMBOLS_UI_SRCWINDOW_H

#include <memory>
#include <string>

#include "symbols/ui/srcview.h"
#include "toolkit/sb.h"
#include "toolkit/tarea.h"
#include "toolkit/ted.h"

class SourceWindow : private SourceViewScrollBars {
 public:
  // lineToView from 1; 0 for the top (or, when following, the end).
  // With beside (a window's box in screen pixels) the window opens right
  // of that window, or left of it, or else a little below and right of its
  // corner, always on screen; without, at a fixed place.
  static SourceWindow* open(const char* fileName, long lineToView, bool follow, std::string* error,
                            const _Rect16Rec* beside = nullptr);
  // Where a window of extent opens beside box on a screen of screen.
  static _Point16Rec placeBeside(const _Rect16Rec& box, _Point16Rec extent, _Point16Rec screen);
  ~SourceWindow();
  SourceWindow(const SourceWindow&) = delete;
  SourceWindow& operator=(const SourceWindow&) = delete;

  // Shows another file (or the same one at another line), as a DISF asks.
  bool showFile(const char* fileName, long lineToView, long lineToHilite, bool hilite, std::string* error);
  void setFollowing(bool follow);
  typedef void (*ClosedHandler)(SourceWindow* window, void* data);
  void setClosedHandler(ClosedHandler handler, void* data) {
    closedHandler_ = handler;
    closedData_ = data;
  }
  bool isFollowing() const { return following_; }
  // Searches for text from the selection on; false when there is no
  // further match (the status line says so).
  bool findText(const std::string& text);
  // Puts the focus in the find field with its text selected.
  void focusFindField();
  bool isClosed() const { return closed_; }
  void close();
  // What the status line shows now.
  std::string statusText() const;

  WinPtr win() const { return win_; }
  WgtPtr viewPort() const { return viewPort_; }
  SourceView* view() const { return view_.get(); }
  SbPtr verticalBar() const { return verticalScroll_; }
  SbPtr horizontalBar() const { return horizontalScroll_; }
  TEdPtr findField() const { return findField_; }

 private:
  SourceWindow() = default;
  static long windowNfy(ResPtr res, Int message, ClientPtr data);
  static long viewPortNfy(ResPtr res, Int message, ClientPtr data);
  static long scrollBarNfy(ResPtr res, Int message, ClientPtr data);
  static long findFieldNfy(ResPtr res, Int message, ClientPtr data);
  static void followAlarm(ClientPtr data);
  static void describeViewPort(WgtPtr wgt, struct AutomDesc* desc);
  void placeBar(bool vertical, _Point16Rec origin, int length) override;
  void setBarRange(bool vertical, const SourceViewScrollRange& range) override;
  bool handleKey();
  void findAgain();
  bool handleMenuChoice();
  // The window's and its widgets' notifications back to the defaults.
  void detachWidgets();
  void updateStatus();

  WinPtr win_ = nullptr;
  WgtPtr viewPort_ = nullptr;
  TAreaPtr status_ = nullptr;
  TEdPtr findField_ = nullptr;
  SbPtr verticalScroll_ = nullptr;
  SbPtr horizontalScroll_ = nullptr;
  std::unique_ptr<SourceView> view_;
  bool following_ = false;
  bool closed_ = false;
  std::string message_;      // a note for the status line ("Not found")
  int followIntervalMs_ = 250;
  ClosedHandler closedHandler_ = nullptr;
  void* closedData_ = nullptr;
};

#endif  // OWB_SYMBOLS_UI_SRCWINDOW_H
