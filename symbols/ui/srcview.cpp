// The source view: geometry, scrolling, jumping, the target line, the
// selection, search, drawing and the display messages.
#include "symbols/ui/srcview.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <vector>

#include "bigendian.h"
#include "shared/log.h"
#include "shared/messages.h"
#include "toolkit/evkeys.h"

namespace {

constexpr TypeIdent kDisplayFileMessage = makeTypeIdent("DISF");
constexpr int kMargin = 6;          // the text begins this far inside the viewport
constexpr int kBarGap = 4;          // the scroll bars stand this far from it
constexpr long kFollowPercent = 99; // where the end of a growing file is kept

// U+FFFD, shown for a control character, one column per byte.
const char kReplacementGlyph[] = "\xEF\xBF\xBD";

ColorPtr hiliteColor() {
  static ColorPtr color = COLOR_NewRgb(0xFF, 0xF1, 0xA8);
  return color;
}

long findStringInBuffer(const unsigned char* buffer, long length, const std::string& needle, long from,
                        bool caseSensitive) {
  long size = static_cast<long>(needle.size());
  for (long at = std::max(0L, from); at + size <= length; ++at) {
    long i = 0;
    if (caseSensitive) {
      if (std::memcmp(buffer + at, needle.data(), static_cast<size_t>(size)) == 0) return at;
      continue;
    }
    while (i < size && std::tolower(buffer[at + i]) == std::tolower(static_cast<unsigned char>(needle[i]))) ++i;
    if (i == size) return at;
  }
  return -1;
}

}  // namespace

SourceView::SourceView(WinPtr newWin, WgtPtr newViewPort, const char* fileName, long lineToView,
                       long percentFromTop, bool moveIfVisible, long lineToHilite, bool hilite, bool newHasMenuBar)
    : win(newWin), viewPort(newViewPort), hasMenuBar(newHasMenuBar) {
  viewPortBgColor = WGT_GetBgColor(viewPort);
  viewPortFgColor = WGT_GetFgColor(viewPort);
  setFile(fileName);
  if (lastError != 0) return;
  jumpToLine(lineToView, percentFromTop, moveIfVisible, lineToHilite, hilite);
  initializeMenu();
}

SourceView::~SourceView() { garbageCollectMenu(); }

// --- Display ------------------------------------------------------------------------

void SourceView::setFile(const char* fileName) {
  lastError = 0;
  failureText_.clear();
  dataStore.reset();
  sourceFileName = fileName ? fileName : "";
  const char* slash = std::strrchr(sourceFileName.c_str(), '/');
  std::snprintf(shortSourceFileName, sizeof shortSourceFileName, "%s", slash ? slash + 1 : sourceFileName.c_str());
  firstVisibleLine = firstVisibleColumn = 0;
  targetLine = 0;
  targetIsHilited = false;
  selectionStartLine = selectionEndLine = selectionStartChar = selectionEndChar = -1;
  if (!sourceFileName.empty()) {
    // Bytes of no valid UTF-8 character come from the store as their codes,
    // "\xE9", expanded like tabs: every column counted here (scrolling, the
    // selection, search, the mouse) is then a cell drawn, with no second
    // mapping between the file's bytes and the screen.
    auto store = std::make_unique<TextDataStore>(sourceFileName.c_str(), tabValue, true);
    if (store->lastError != 0) {
      lastError = store->lastError;
      failureText_ = store->failureText();
      OWB_LOG("source view cannot show " << sourceFileName << ": " << failureText_);
    } else {
      dataStore = std::move(store);
    }
  }
  recalculateDimensions();
  invalidateView();
}

bool SourceView::switchSourceView(const char* fileName, long lineToView, long percentFromTop, bool moveIfVisible,
                                  long lineToHilite, bool hilite) {
  std::string name = fileName ? fileName : "";
  bool changed = name != sourceFileName || (!dataStore && !name.empty());
  if (name.empty()) {
    setFile("");
    return changed;
  }
  if (changed) setFile(name.c_str());
  else lastError = 0;
  if (lastError == 0) jumpToLine(lineToView, percentFromTop, moveIfVisible, lineToHilite, hilite);
  return changed;
}

void SourceView::reloadFile() {
  long keptTarget = targetLine;
  long keptFirst = firstVisibleLine;
  bool keptHilite = targetIsHilited;
  long startLine = selectionStartLine, endLine = selectionEndLine;
  long startChar = selectionStartChar, endChar = selectionEndChar;
  std::string name = sourceFileName;
  setFile(name.c_str());
  if (lastError != 0 || totalLines() == 0) return;
  jumpToLine(keptFirst + 1, 0, true, keptTarget + 1, keptHilite);
  if (startLine >= 0) {
    long last = totalLines() - 1;
    setSelection(std::min(startLine, last), std::min(startChar, totalColumns()), std::min(endLine, last),
                 std::min(endChar, totalColumns()));
  }
}

bool SourceView::updateFileDisplay() {
  if (!dataStore) return false;
  if (dataStore->fileChangedUnderneath()) {
    // Cut short or replaced: what is held no longer matches the disk.
    std::string name = sourceFileName;
    setFile(name.c_str());
    if (lastError == 0) jumpToLine(totalLines(), kFollowPercent, true, 0, false);
    return true;
  }
  long oldLines = totalLines();
  if (!dataStore->addNewFileData()) return false;
  recalculateDimensions();
  // The line that was last may have grown, and the new ones are to be shown.
  invalidateLines(std::max(0L, oldLines - 1), totalLines() - 1);
  jumpToLine(totalLines(), kFollowPercent, true, 0, false);
  return true;
}

void SourceView::jumpToLine(long lineToView, long percentFromTop, bool moveIfVisible, long lineToHilite,
                            bool hilite) {
  long total = totalLines();
  long line = std::max(1L, std::min(lineToView, std::max(1L, total)));
  long hiliteLine = std::max(0L, std::min(lineToHilite, total));
  long newTarget = (hiliteLine == 0 ? line : hiliteLine) - 1;
  bool visible = line - 1 >= firstVisibleLine && line - 1 < firstVisibleLine + heightInLines;
  if (!visible || moveIfVisible) {
    long newTop = (line - 1) - percentFromTop * heightInLines / 100;
    if (newTop != firstVisibleLine || newTarget != targetLine) setFirstVisibleLine(newTop);
  }
  if (targetIsHilited && (!hilite || newTarget != targetLine)) invalidateLine(targetLine);
  targetIsHilited = hilite;
  if (hilite) {
    clearSelection();
    invalidateLine(newTarget);
  }
  targetLine = newTarget;
}

void SourceView::jumpToSelection(long percentFromTop) {
  if (selectionStartLine < 0) return;
  jumpToLine(selectionStartLine + 1, percentFromTop, false, 0, false);
  // And sideways, when the selection lies outside the columns shown.
  if (selectionStartChar < firstVisibleColumn || selectionEndChar > firstVisibleColumn + widthInCharacters)
    setFirstVisibleColumn(selectionStartChar - widthInCharacters / 3);
}

void SourceView::setFirstVisibleLine(long line) {
  long newFirst = line;
  if (line < 0 || totalLines() <= heightInLines) newFirst = 0;
  else newFirst = std::min(line, totalLines() - heightInLines);
  if (newFirst == firstVisibleLine) return;
  firstVisibleLine = newFirst;
  invalidateView();
  recalculateScrollBars();
}

void SourceView::setFirstVisibleColumn(long column) {
  long newFirst = column;
  if (column < 0 || totalColumns() <= widthInCharacters) newFirst = 0;
  else newFirst = std::min(column, totalColumns() + 1 - widthInCharacters);
  if (newFirst == firstVisibleColumn) return;
  firstVisibleColumn = newFirst;
  invalidateView();
  recalculateScrollBars();
}

void SourceView::setTabValue(long newTabValue) {
  if (newTabValue < 1 || newTabValue == tabValue) return;
  tabValue = newTabValue;
  if (dataStore) dataStore->setTabValue(tabValue);
  recalculateScrollBars();
  invalidateView();
}

void SourceView::setTargetHilite(bool hilite) {
  if (hilite == targetIsHilited) return;
  targetIsHilited = hilite;
  if (hilite) clearSelection();
  invalidateLine(targetLine);
}

void SourceView::recalculateDimensions() {
  if (fontChanged) {
    font_ = WGT_GetFont(viewPort);
    // The line height is the font's ascent and descent with a pixel of
    // leading above and below; the width that of a digit, the font being
    // of fixed width.
    fontAscent_ = FONT_GetAscent(font_);
    fontHeight = static_cast<short>(std::max(1, FONT_GetAscent(font_) + FONT_GetDescent(font_) + 2));
    fontWidth = static_cast<short>(std::max<int>(1, DRAW_QueryTextExt(font_, "0", 1).X));
    fontChanged = false;
  }
  viewPortBox = viewPort->Box;
  heightInLines = static_cast<short>(std::max(0, (viewPortBox.Extent.Y - kMargin) / fontHeight));
  widthInCharacters = static_cast<short>(std::max(0, viewPortBox.Extent.X / fontWidth));
  viewPortClip = RECT16_Make(viewPortBox.Origin.X + kMargin, viewPortBox.Origin.Y + kMargin,
                             viewPortBox.Extent.X - 8, heightInLines * fontHeight);
  recalculateScrollBars();
  allocateDrawBuffer();
}

void SourceView::recalculateScrollBars() {
  SourceViewScrollRange vertical;
  vertical.max = totalLines();
  vertical.thumbSize = std::min(totalLines(), static_cast<long>(heightInLines));
  // The end of the text stays at the end of the view.
  if (vertical.max < firstVisibleLine + vertical.thumbSize) {
    firstVisibleLine = std::max(0L, vertical.max - vertical.thumbSize);
    invalidateView();
  }
  vertical.thumbPos = firstVisibleLine;
  SourceViewScrollRange horizontal;
  horizontal.max = totalColumns() + 1;
  horizontal.thumbSize = std::min(totalColumns(), static_cast<long>(widthInCharacters));
  if (horizontal.max < firstVisibleColumn + horizontal.thumbSize) {
    firstVisibleColumn = std::max(0L, horizontal.max - horizontal.thumbSize);
    invalidateView();
  }
  horizontal.thumbPos = firstVisibleColumn;
  if (!scrollBars_) return;
  const _Rect16Rec& box = viewPortBox;
  scrollBars_->placeBar(true, _Point16Rec{static_cast<Int16>(box.Origin.X + box.Extent.X + kBarGap), box.Origin.Y},
                        box.Extent.Y);
  scrollBars_->placeBar(false, _Point16Rec{box.Origin.X, static_cast<Int16>(box.Origin.Y + box.Extent.Y + kBarGap)},
                        box.Extent.X);
  scrollBars_->setBarRange(true, vertical);
  scrollBars_->setBarRange(false, horizontal);
}

void SourceView::setScrollBars(SourceViewScrollBars* bars) {
  scrollBars_ = bars;
  recalculateScrollBars();
}

void SourceView::allocateDrawBuffer() {
  long wanted = widthInCharacters + 1;
  if (widthInCharacters < 1 || wanted == drawBufferSize) return;
  drawBuffer.reset(new unsigned char[static_cast<size_t>(wanted)]);
  drawBufferSize = wanted;
}

void SourceView::vScrollbarCallback(long position) { setFirstVisibleLine(position); }
void SourceView::hScrollbarCallback(long position) { setFirstVisibleColumn(position); }

// --- Invalidation and drawing -----------------------------------------------------------

_Rect16Rec SourceView::lineRect(long line) const {
  long row = line - firstVisibleLine;
  return RECT16_Make(0, kMargin + static_cast<int>(row) * fontHeight, viewPortBox.Extent.X, fontHeight);
}

void SourceView::invalidateView() {
  clearViewPortText = true;
  if (viewPort) WGT_Inval(viewPort, nullptr);
}

void SourceView::invalidateLine(long line) { invalidateLines(line, line); }

void SourceView::invalidateLines(long firstLine, long lastLine) {
  if (!viewPort) return;
  if (firstLine > lastLine) std::swap(firstLine, lastLine);
  firstLine = std::max(firstLine, firstVisibleLine);
  lastLine = std::min(lastLine, firstVisibleLine + heightInLines - 1);
  if (firstLine > lastLine) return;
  _Rect16Rec rect = lineRect(firstLine);
  rect.Extent.Y = static_cast<Int16>((lastLine - firstLine + 1) * fontHeight);
  WGT_Inval(viewPort, &rect);
}

void SourceView::redrawSelection() {
  if (selectionStartLine >= 0) invalidateLines(selectionStartLine, selectionEndLine);
}

void SourceView::redrawView() {
  DrawPtr draw = WGT_BeginDraw(viewPort);
  const _Rect16Rec& box = viewPort->Box;
  DRAW_FillRect(draw, RECT16_Make(0, 0, box.Extent.X, box.Extent.Y), viewPortBgColor);
  DRAW_FrameRect(draw, RECT16_Make(0, 0, box.Extent.X, box.Extent.Y), COLOR_Border(), nullptr);
  DRAW_ClipRect(draw, RECT16_Make(kMargin, kMargin, box.Extent.X - 8, heightInLines * fontHeight));
  for (long row = 0; row < heightInLines && firstVisibleLine + row < totalLines(); ++row) drawLine(draw, row);
  WGT_EndDraw(draw);
  clearViewPortText = false;
}

// One line of the view: its background (target highlight, selection), then
// its text, column by column as classifySourceCells tells.
void SourceView::drawLine(DrawPtr draw, long row) {
  long line = firstVisibleLine + row;
  int top = kMargin + static_cast<int>(row) * fontHeight;
  if (targetIsHilited && line == targetLine)
    DRAW_FillRect(draw, RECT16_Make(kMargin, top, viewPortBox.Extent.X, fontHeight), hiliteColor());
  if (line >= selectionStartLine && line <= selectionEndLine && selectionStartLine >= 0) {
    long from = line == selectionStartLine ? selectionStartChar : 0;
    long to = line == selectionEndLine ? selectionEndChar : totalColumns() + 1;
    from = std::max(from - firstVisibleColumn, 0L);
    to = std::min(to - firstVisibleColumn, static_cast<long>(widthInCharacters) + 1);
    if (to > from)
      DRAW_FillRect(draw,
                    RECT16_Make(kMargin + static_cast<int>(from) * fontWidth, top,
                                static_cast<int>(to - from) * fontWidth, fontHeight),
                    COLOR_Selection());
  }
  if (!drawBuffer) return;
  long placed = dataStore->fillBuffer(line, drawBuffer.get(), drawBufferSize, firstVisibleColumn);
  long shown = placed > 0 ? placed - 1 : 0;
  bool cutAtRight = placed >= drawBufferSize;
  const unsigned char* text = drawBuffer.get();
  int baseline = top + 1 + fontAscent_;
  long runStart = -1;
  auto flushRun = [&](long end) {
    if (runStart >= 0)
      DRAW_Text(draw, font_, viewPortFgColor, kMargin + static_cast<int>(runStart) * fontWidth, baseline,
                reinterpret_cast<const char*>(text + runStart), static_cast<int>(end - runStart));
    runStart = -1;
  };
  auto drawGlyph = [&](long column, const char* glyph, int length, ColorPtr color) {
    DRAW_Text(draw, font_, color, kMargin + static_cast<int>(column) * fontWidth, baseline, glyph, length);
  };
  std::vector<SourceCellKind> kinds(static_cast<size_t>(shown));
  classifySourceCells(text, shown, cutAtRight, firstVisibleColumn > 0, kinds.data());
  for (long i = 0; i < shown; ++i) {
    SourceCellKind kind = kinds[static_cast<size_t>(i)];
    if (kind == kCellText) {
      if (runStart < 0) runStart = i;
      continue;
    }
    flushRun(i);
    if (kind == kCellCharacter)
      drawGlyph(i, reinterpret_cast<const char*>(text + i), utf8SequenceLength(text + i, shown - i), viewPortFgColor);
    else if (kind == kCellReplaced)
      drawGlyph(i, kReplacementGlyph, 3, COLOR_Gray());
  }
  flushRun(shown);
}

void classifySourceCells(const unsigned char* text, long shown, bool cutAtRight, bool scrolledIn,
                         SourceCellKind* kinds) {
  bool atStart = scrolledIn;  // continuation bytes here belong to a character left of the view
  for (long i = 0; i < shown; ++i) {
    unsigned char byte = text[i];
    if (byte >= 0x20 && byte < 0x7F) {
      kinds[i] = kCellText;
      atStart = false;
      continue;
    }
    kinds[i] = kCellReplaced;
    if (byte >= 0x80 && byte <= 0xBF && atStart && i < 3) {
      kinds[i] = kCellBlank;
      continue;
    }
    atStart = false;
    if (byte == '\r' && i == shown - 1 && !cutAtRight) {
      kinds[i] = kCellBlank;  // the CR of a CR-LF line end
      continue;
    }
    if (byte < 0xC2) continue;
    int length = utf8SequenceLength(text + i, shown - i);
    if (length < 0 && cutAtRight) {
      for (; i < shown; ++i) kinds[i] = kCellBlank;  // a character cut by the right edge
      break;
    }
    if (length <= 0) continue;
    kinds[i] = kCellCharacter;
    for (int k = 1; k < length; ++k) kinds[i + k] = kCellBlank;
    i += length - 1;
  }
}

// --- Selection and search --------------------------------------------------------------

void SourceView::clearSelection() {
  if (selectionStartLine < 0) return;
  redrawSelection();
  selectionStartLine = selectionEndLine = selectionStartChar = selectionEndChar = -1;
}

void SourceView::setSelection(long startLine, long startChar, long endLine, long endChar) {
  if (startLine > endLine || (startLine == endLine && startChar > endChar)) {
    std::swap(startLine, endLine);
    std::swap(startChar, endChar);
  }
  long oldStart = selectionStartLine, oldEnd = selectionEndLine;
  selectionStartLine = startLine;
  selectionStartChar = startChar;
  selectionEndLine = endLine;
  selectionEndChar = endChar;
  if (oldStart >= 0) invalidateLines(oldStart, oldEnd);
  redrawSelection();
}

bool SourceView::find(const char* searchString, bool caseSensitive) {
  if (!dataStore || !searchString || !*searchString) return false;
  std::string needle = searchString;
  long line = 0;
  long from = 0;
  if (selectionStartLine >= 0) {
    line = selectionEndLine;
    from = selectionEndChar;
  } else if (targetIsHilited) {
    line = targetLine;
  }
  long bufferSize = totalColumns() + 1;
  std::vector<unsigned char> buffer(static_cast<size_t>(bufferSize));
  for (; line < totalLines(); ++line, from = 0) {
    long placed = dataStore->fillBuffer(line, buffer.data(), bufferSize, 0);
    long length = placed > 0 ? placed - 1 : 0;
    long at = findStringInBuffer(buffer.data(), length, needle, from, caseSensitive);
    if (at < 0) continue;
    setSelection(line, at, line, at + static_cast<long>(needle.size()));
    if (targetIsHilited) invalidateLine(targetLine);
    targetIsHilited = false;
    targetLine = line;
    jumpToSelection(33);
    return true;
  }
  return false;
}

bool SourceView::findSelection() {
  if (selectionStartLine < 0 || selectionStartLine != selectionEndLine) return false;
  char text[256];
  if (getSelection(text, sizeof text) <= 0) return false;
  return find(text, true);
}

long SourceView::getLine() const { return totalLines() > 0 ? targetLine + 1 : 0; }

long SourceView::getSelection(char* buffer, long maximumLength) {
  if (!buffer || maximumLength <= 0) return 0;
  buffer[0] = 0;
  if (selectionStartLine < 0 || !dataStore) return 0;
  std::string text;
  long bufferSize = totalColumns() + 1;
  std::vector<unsigned char> line(static_cast<size_t>(bufferSize));
  for (long n = selectionStartLine; n <= selectionEndLine && static_cast<long>(text.size()) < maximumLength; ++n) {
    long placed = dataStore->fillBuffer(n, line.data(), bufferSize, 0);
    long length = placed > 0 ? placed - 1 : 0;
    long from = std::min(n == selectionStartLine ? selectionStartChar : 0, length);
    long to = std::min(n == selectionEndLine ? selectionEndChar : length, length);
    if (n > selectionStartLine) text += '\n';
    if (to > from) text.append(reinterpret_cast<const char*>(line.data()) + from, static_cast<size_t>(to - from));
  }
  long length = std::min(static_cast<long>(text.size()), maximumLength - 1);
  std::memcpy(buffer, text.data(), static_cast<size_t>(length));
  buffer[length] = 0;
  return length;
}

// --- Mouse and keys -------------------------------------------------------------------

// The text begins kMargin inside the viewport; a point maps to the line and
// column whose cell holds it.
std::string SourceView::visibleText(long maximumWidth) const {
  std::string text;
  if (!dataStore || maximumWidth <= 0) return text;
  std::vector<unsigned char> buffer(static_cast<size_t>(maximumWidth) + 1);
  long last = std::min(totalLines(), firstVisibleLine + heightInLines);
  for (long line = firstVisibleLine; line < last; ++line) {
    long placed = dataStore->fillBuffer(line, buffer.data(), static_cast<long>(buffer.size()), 0);
    if (line > firstVisibleLine) text += '\n';
    // The NUL stands over the line's newline, or over the last byte that fitted.
    text.append(reinterpret_cast<const char*>(buffer.data()), static_cast<size_t>(placed > 0 ? placed - 1 : 0));
  }
  return text;
}

void SourceView::lineAndColumnAt(_Point16Rec where, long* line, long* column) const {
  int y = where.Y - kMargin;
  int x = where.X - kMargin;
  *line = (y < 0 ? -1 : y / fontHeight) + firstVisibleLine;
  *column = (x < 0 ? -1 : x / fontWidth) + firstVisibleColumn;
}

bool SourceView::handleMouseClick(_Point16Rec where, bool oneClickSelection) {
  if (!dataStore || totalLines() == 0) return false;
  long line = 0, column = 0;
  lineAndColumnAt(where, &line, &column);
  if (oneClickSelection) {
    if (line < 0 || line >= totalLines()) return false;
    if (targetIsHilited && line == targetLine) return false;
    jumpToLine(line + 1, 0, false, 0, true);
    return true;
  }
  clearSelection();
  setTargetHilite(false);
  line = std::max(0L, std::min(line, totalLines() - 1));
  column = std::max(0L, std::min(column, totalColumns()));
  trackSelection(line, column);
  return true;
}

// Follows the mouse while the button is down: the selection runs from the
// anchor to the pointer, and the view scrolls when the pointer leaves it.
void SourceView::trackSelection(long anchorLine, long anchorColumn) {
  EVENT_SetDefTrackDelay();  // repeats, so that holding the pointer outside keeps scrolling
  _Point16Rec where{-1, -1};
  bool located = false;
  EVENT_TrackDownBegin(viewPort);
  while (EVENT_TrackDown(viewPort)) {
    // A repetition step carries no location: the pointer is where it was.
    Int type = EVENT_GetCurEventType();
    if (!located || (type != EVENT_TYPEALARM && type != EVENT_TYPENOTHING)) {
      EVENT_QueryWgtLoc(viewPort, &where);
      located = true;
    }
    if (where.Y < kMargin) setFirstVisibleLine(firstVisibleLine - 1);
    else if (where.Y >= kMargin + heightInLines * fontHeight) setFirstVisibleLine(firstVisibleLine + 1);
    if (where.X < kMargin) setFirstVisibleColumn(firstVisibleColumn - 1);
    else if (where.X >= viewPortBox.Extent.X - 2) setFirstVisibleColumn(firstVisibleColumn + 1);
    long line = 0, column = 0;
    lineAndColumnAt(where, &line, &column);
    line = std::max(firstVisibleLine, std::min(line, std::min(totalLines(), firstVisibleLine + heightInLines) - 1));
    column = std::max(0L, std::min(column, totalColumns()));
    long startLine = anchorLine, startChar = anchorColumn, endLine = line, endChar = column;
    if (startLine > endLine || (startLine == endLine && startChar > endChar)) {
      std::swap(startLine, endLine);
      std::swap(startChar, endChar);
    }
    if (startLine != selectionStartLine || startChar != selectionStartChar || endLine != selectionEndLine ||
        endChar != selectionEndChar)
      setSelection(startLine, startChar, endLine, endChar);
  }
  EVENT_TrackDownEnd(viewPort);
  EVENT_SetTrackDelay(nullptr);
  // A click without a drag selects nothing.
  if (selectionStartLine == selectionEndLine && selectionStartChar == selectionEndChar) clearSelection();
}

bool SourceView::handleKey(Int keyCode, UInt modifiers) {
  bool control = (modifiers & EVENT_MODCONTROL) != 0;
  long page = std::max(1, heightInLines - 1);
  switch (keyCode) {
    case EVENT_KEYUP: setFirstVisibleLine(firstVisibleLine - 1); return true;
    case EVENT_KEYDOWN: setFirstVisibleLine(firstVisibleLine + 1); return true;
    case EVENT_KEYPREVPAGE: setFirstVisibleLine(firstVisibleLine - page); return true;
    case EVENT_KEYNEXTPAGE: setFirstVisibleLine(firstVisibleLine + page); return true;
    case EVENT_KEYLEFT: setFirstVisibleColumn(firstVisibleColumn - 1); return true;
    case EVENT_KEYRIGHT: setFirstVisibleColumn(firstVisibleColumn + 1); return true;
    case EVENT_KEYHOME:
    case EVENT_KEYBEGIN:
      if (control) setFirstVisibleLine(0);
      setFirstVisibleColumn(0);
      return true;
    case EVENT_KEYEND:
      if (control) setFirstVisibleLine(totalLines());
      else setFirstVisibleColumn(totalColumns());
      return true;
    default: return false;
  }
}

// --- Messages ---------------------------------------------------------------------------

namespace {

void putRect(uint8_t* bytes, const _Rect16Rec& rect) {
  owbcoding::putI16(bytes, rect.Origin.X);
  owbcoding::putI16(bytes + 2, rect.Origin.Y);
  owbcoding::putI16(bytes + 4, rect.Extent.X);
  owbcoding::putI16(bytes + 6, rect.Extent.Y);
}

Message* displayFileMessage(const ToolInfo* destination, const char* file, bool pathIsPartial, long lineNumber,
                            long percentFromTop, bool moveIfVisible, long lineToHilite, bool hilite,
                            bool alwaysShow, const uint8_t* rect, long rectLength, long windowID,
                            TypeIdent preferedTool, long data) {
  Message* message = new Message(kDisplayFileMessage, destination);
  char path[256];
  std::snprintf(path, sizeof path, "%s", file ? file : "");
  message->addStringParam(kParamStr255, path);
  message->addBooleanParam(pathIsPartial);
  message->addLongParam(static_cast<int32_t>(lineNumber));
  message->addShortParam(static_cast<int16_t>(percentFromTop));
  message->addBooleanParam(moveIfVisible);
  message->addLongParam(static_cast<int32_t>(lineToHilite));
  message->addBooleanParam(hilite);
  message->addBooleanParam(alwaysShow);
  message->addParam(kParamData, rect, rectLength);
  message->addLongParam(static_cast<int32_t>(windowID));
  message->addIdentParam(preferedTool);
  message->addLongParam(static_cast<int32_t>(data));
  return message;
}

}  // namespace

void SourceView::sendSourceMessage(const ToolInfo& tool) {
  if (!gMessageCenter) return;
  uint8_t rect[8] = {};
  if (win) putRect(rect, WIN_Wgt(win)->Box);
  gMessageCenter->sendMessage(displayFileMessage(&tool, sourceFileName.c_str(), false, firstVisibleLine + 1, 0,
                                                 true, targetLine + 1, targetIsHilited, true, rect, sizeof rect, 0,
                                                 gNilMessageParam, 0));
}

void SourceView::sendDisplayFileMessage(const char* file, bool pathIsPartial, long lineNumber, long percentFromTop,
                                        bool moveIfVisible, long lineToHilite, bool hilite, bool alwaysShow,
                                        TypeIdent preferedTool, const _Rect16Rec* windowRect, long windowID,
                                        long data) {
  if (!gMessageCenter) return;
  // Only the rectangle's first four bytes, its origin, go with this form.
  uint8_t rect[8] = {};
  if (windowRect) putRect(rect, *windowRect);
  gMessageCenter->sendMessage(displayFileMessage(&gToolManToolInfo, file, pathIsPartial, lineNumber,
                                                 percentFromTop, moveIfVisible, lineToHilite, hilite, alwaysShow,
                                                 rect, 4, windowID, preferedTool, data));
  if (gMessageCenter->lastError != 0) gMessageCenter->alertLastError();
}
