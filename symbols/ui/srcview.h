// SourceView: a text file shown read-only in a widget of a window, by line
// and column, with a target line, a selection, tab expansion, a search,
// two scroll bars, and the following of a file that grows.
//
// Lines count from 1 at the interface (constructor, switchSourceView,
// jumpToLine, getLine) and from 0 inside (firstVisibleLine, targetLine,
// the selection's lines).  Columns count bytes of the line with its tabs
// expanded and its invalid bytes written as codes ("\xE9"), from 0.
//
// The owner (the tool that holds the window):
// - makes the view on a window and a widget (the viewport) and keeps both
//   alive as long as the view;
// - sends the viewport's redraw to redrawView, its resize to
//   recalculateDimensions, its mouse clicks to handleMouseClick and its key
//   presses to handleKey;
// - calls updateFileDisplay now and then for a view that follows a file;
// - may give the view scroll bars through setScrollBars, which tells the
//   bars their places and ranges and takes their moves through
//   vScrollbarCallback and hScrollbarCallback.
//
// Contracts:
// - lastError after construction or a file change: 0, -1301 (the file
//   cannot be opened or read, or is not a regular file; failureText says
//   why) or -1701 (no memory).  A view whose file failed shows nothing and
//   stays usable: switchSourceView can give it another.
// - find, jumpToLine and the scrolling calls never fail; lines and columns
//   out of range are held to the text.
#ifndef OWB_SYMBOLS_UI_SRCVIEW_H
#define OWB_SYMBOLS_UI_SRCVIEW_H

#include <memory>
#include <string>
#include <vector>

#include "shared/errors.h"
#include "shared/wiremessage.h"
#include "symbols/textstore.h"
#include "toolkit/winpub.h"

// The range of one scroll bar, as the view computes it.
struct SourceViewScrollRange {
  long min = 0;
  long max = 0;
  long thumbSize = 0;
  long thumbPos = 0;
  long step = 1;
};

// What the view needs of its scroll bars: a place (where the bar begins,
// in the viewport's parent's coordinates, and its length; the bar keeps its
// own thickness) and a range.  The owner implements it over the toolkit's
// scroll bars and forwards their moves to the view's callbacks.
class SourceViewScrollBars {
 public:
  virtual ~SourceViewScrollBars() = default;
  virtual void placeBar(bool vertical, _Point16Rec origin, int length) = 0;
  virtual void setBarRange(bool vertical, const SourceViewScrollRange& range) = 0;
};

// How each column of a fetched line is shown: every byte is a column.
// Printable ASCII as it is; a valid UTF-8 character at its first column
// with blanks over the rest, so that no character is split; a CR before
// the line's end, the rest of a character begun left of the view and a
// character cut by the right edge as blanks; anything else (control
// characters, NUL) replaced by a marker.  Bytes of no valid character
// reach the view already written as their codes ("\xE9") by the store.
enum SourceCellKind : unsigned char { kCellText, kCellCharacter, kCellBlank, kCellReplaced };
// Fills kinds[0..shown) for text; cutAtRight when the line goes on past
// the view, scrolledIn when columns lie left of it.
void classifySourceCells(const unsigned char* text, long shown, bool cutAtRight, bool scrolledIn,
                         SourceCellKind* kinds);

class SourceView : public HasErrorReporting {
 public:
  SourceView(WinPtr newWin, WgtPtr newViewPort, const char* fileName, long lineToView, long percentFromTop,
             bool moveIfVisible, long lineToHilite, bool hilite, bool newHasMenuBar);
  ~SourceView() override;
  SourceView(const SourceView&) = delete;
  SourceView& operator=(const SourceView&) = delete;

  // --- Display -------------------------------------------------------------------
  // Reads fileName into a new store ("" or null: no file).
  void setFile(const char* fileName);
  // Shows fileName (a new store when it differs from the present one) and
  // jumps as jumpToLine; true when the file changed.
  bool switchSourceView(const char* fileName, long lineToView, long percentFromTop, bool moveIfVisible,
                        long lineToHilite, bool hilite);
  // Reads the file again, keeping the first line, target, highlight and
  // selection as far as the new text has them.
  void reloadFile();
  // Takes in what was appended to the file and brings its end to 99
  // percent of the view; a file cut short or replaced is read again from
  // the start.  True when anything changed.
  bool updateFileDisplay();
  void jumpToLine(long lineToView, long percentFromTop, bool moveIfVisible, long lineToHilite, bool hilite);
  void jumpToSelection(long percentFromTop);
  void setFirstVisibleLine(long line);
  void setFirstVisibleColumn(long column);
  void setTabValue(long newTabValue);
  void setTargetHilite(bool hilite);
  void recalculateDimensions();
  void recalculateScrollBars();
  void redrawView();
  void redrawSelection();
  void invalidateView();
  void invalidateLine(long line);
  void invalidateLines(long firstLine, long lastLine);
  void vScrollbarCallback(long position);
  void hScrollbarCallback(long position);
  void setScrollBars(SourceViewScrollBars* bars);  // not owned; null for none

  // --- Text ----------------------------------------------------------------------
  // Searches from the end of the selection (or the highlighted target line,
  // or the top) to the end of the file, without wrapping; a match becomes
  // the selection, a third of the way down the view.  False, with the
  // selection kept, when there is no further match.
  bool find(const char* searchString, bool caseSensitive);
  // The next occurrence of the selected text.
  bool findSelection();
  // The target line, from 1 (0 when there is no text).
  long getLine() const;
  // The selected text (tabs expanded, lines joined by newlines) into
  // buffer, at most maximumLength - 1 bytes and a NUL; gives its length.
  long getSelection(char* buffer, long maximumLength);
  // A click at where (viewport coordinates).  With oneClickSelection the
  // line becomes the highlighted target (false when it was already);
  // otherwise the selection follows the mouse until the button is up.
  bool handleMouseClick(_Point16Rec where, bool oneClickSelection);
  // The scrolling keys: arrows, pages, Home and End (with Ctrl: the file's
  // start and end).  True when the key was one of them.
  bool handleKey(Int keyCode, UInt modifiers);

  // --- Menu and messages ---------------------------------------------------------------
  // With a menu bar: asks the Tool Manager (GSAT) for the tools that can
  // show source and, when there are any, adds "In <tool>" items to the
  // bar's "&View" menu (made at the front of the bar when there is none;
  // after a separator when there is).  Each item holds a copy of its tool's
  // identity, freed by garbageCollectMenu (and with the view).
  void initializeMenu();
  void garbageCollectMenu();
  // After a choice in win's menu bar: the tool of the chosen "&View" item,
  // or null when the choice was not one of them.  Owned by the view.
  static const ToolInfo* handleMenuSelection(WinPtr win);
  // Sends the view's file, lines and window rectangle with DISF to tool.
  void sendSourceMessage(const ToolInfo& tool);
  // Sends DISF to the Tool Manager; shows the center's error when sending
  // fails.
  static void sendDisplayFileMessage(const char* file, bool pathIsPartial, long lineNumber, long percentFromTop,
                                     bool moveIfVisible, long lineToHilite, bool hilite, bool alwaysShow,
                                     TypeIdent preferedTool, const _Rect16Rec* windowRect, long windowID,
                                     long data);

  // The lines in view, tabs expanded, each cut at maximumWidth bytes,
  // joined by newlines.
  std::string visibleText(long maximumWidth) const;
  // The line and column (from 0) under a viewport point, not held to the text.
  void lineAndColumnAt(_Point16Rec where, long* line, long* column) const;
  const std::string& failureText() const { return failureText_; }
  bool hasSelection() const { return selectionStartLine >= 0; }

  std::string sourceFileName;
  char shortSourceFileName[256] = {0};
  WinPtr win;
  WgtPtr viewPort;
  short heightInLines = 0;
  short widthInCharacters = 0;
  short fontWidth = 8;
  short fontHeight = 16;
  long firstVisibleLine = 0;
  long firstVisibleColumn = 0;
  long targetLine = 0;
  bool targetIsHilited = false;
  std::unique_ptr<TextDataStore> dataStore;
  std::unique_ptr<unsigned char[]> drawBuffer;
  long drawBufferSize = 0;
  bool hasMenuBar;
  long tabValue = 4;
  bool fontChanged = true;
  bool clearViewPortText = true;
  long selectionStartChar = -1;
  long selectionEndChar = -1;  // the column after the last one selected
  long selectionStartLine = -1;
  long selectionEndLine = -1;
  _Rect16Rec viewPortClip = {};
  _Rect16Rec viewPortBox = {};
  ColorPtr viewPortBgColor = nullptr;
  ColorPtr viewPortFgColor = nullptr;

 private:
  long totalLines() const { return dataStore ? dataStore->totalLines : 0; }
  long totalColumns() const { return dataStore ? dataStore->totalColumns : 0; }
  void allocateDrawBuffer();
  void clearSelection();
  void setSelection(long startLine, long startChar, long endLine, long endChar);
  void drawLine(DrawPtr draw, long row);
  void trackSelection(long anchorLine, long anchorColumn);
  _Rect16Rec lineRect(long line) const;

  SourceViewScrollBars* scrollBars_ = nullptr;
  struct _MnuObj* viewMenu_ = nullptr;  // the "&View" menu, while it holds our items
  std::vector<std::unique_ptr<ToolInfo>> menuTools_;
  FontPtr font_ = nullptr;
  int fontAscent_ = 0;
  std::string failureText_;
};

#endif  // OWB_SYMBOLS_UI_SRCVIEW_H
