// The shared utilities that need the display: the bell, fitting text into
// a width, and dragging an outline.
#include "shared/ui/uiutils.h"

#include <cstdlib>
#include <cstring>

#include "shared/ui/uiglobals.h"
#include "toolkit/draw.h"
#include "toolkit/dsply.h"
#include "toolkit/event.h"
#include "toolkit/wgtpub.h"
#include "toolkit/winpub.h"

void owbBeep() { DSPLY_Beep(); }

namespace {

const char kEllipsis[] = "...";

int textWidth(FontPtr font, const char* text, size_t len) {
  return DRAW_QueryTextExt(font, text, static_cast<int>(len)).X;
}

bool isContinuationByte(char c) { return (static_cast<unsigned char>(c) & 0xc0) == 0x80; }

// The longest part of text (of len bytes) taken from the start, or with
// fromEnd from the end, that is no wider than room and no longer than
// maxBytes; its length in bytes.
size_t fittingPart(FontPtr font, const char* text, size_t len, int room, size_t maxBytes, bool fromEnd) {
  size_t keep = len < maxBytes ? len : maxBytes;
  for (;;) {
    const char* start = fromEnd ? text + len - keep : text;
    // Whole characters only.
    if (keep > 0 && keep < len) {
      if (!fromEnd && isContinuationByte(text[keep])) {
        keep--;
        continue;
      }
      if (fromEnd && isContinuationByte(*start)) {
        keep--;
        continue;
      }
    }
    if (keep == 0 || textWidth(font, start, keep) <= room) return keep;
    keep--;
  }
}

void fitText(_WgtObj* wgt, int width, char* workStr, bool fromEnd) {
  if (!workStr) return;
  FontPtr font = wgt ? WGT_GetFont(wgt) : FONT_Default();
  size_t len = std::strlen(workStr);
  int dots = textWidth(font, kEllipsis, 3);
  if (dots > width) {
    workStr[0] = 0;
    return;
  }
  if (textWidth(font, workStr, len) < width) return;
  if (len < 3) {
    // No room for the whole "...": as many of its dots as the text had bytes.
    std::memcpy(workStr, kEllipsis, len);
    return;
  }
  size_t maxBytes = len - 3;
  size_t keep = fittingPart(font, workStr, len, width - dots, maxBytes, fromEnd);
  if (fromEnd) {
    std::memmove(workStr + 3, workStr + len - keep, keep);
    std::memcpy(workStr, kEllipsis, 3);
  } else {
    std::memcpy(workStr + keep, kEllipsis, 3);
  }
  // "..." is 3 bytes and replaces at least 3: never longer than before.
  workStr[keep + 3 <= len ? keep + 3 : len] = 0;
}

}  // namespace

void truncToFit(_WgtObj* referenceWgt, int width, char* workStr) { fitText(referenceWgt, width, workStr, false); }

void reverseTruncToFit(_WgtObj* referenceWgt, int width, char* workStr) {
  fitText(referenceWgt, width, workStr, true);
}

namespace {

constexpr int kDragThreshold = 12;

// The outline inverts what lies under it: a second drawing erases it.
void drawOutline(WinPtr win, const _Rect16Rec& rect, PenPtr pen) {
  DrawPtr d = DRAW_Begin(WIN_GetNatWin(win), _Point16Rec{0, 0}, nullptr);
  DRAW_FrameRect(d, rect, COLOR_Invert(), pen);
  DRAW_End(d);
  DRAW_Flush();
}

}  // namespace

bool trackGhostDrag(_WinObj* win, _Rect16Rec* dragRect, _PenRec* dragPen) {
  if (!win || !dragRect) return false;
  PenPtr pen = dragPen ? dragPen : gSolidPen ? gSolidPen : PEN_Solid();
  WgtPtr w = WIN_Wgt(win);
  _Point16Rec start;
  EVENT_QueryWinLoc(win, &start);
  const _Point16Rec startOrigin = dragRect->Origin;
  bool started = false, drawn = false;
  _Rect16Rec shown{};
  EVENT_TrackDownBegin(w);
  while (EVENT_TrackDown(w)) {
    _Point16Rec loc;
    EVENT_QueryWinLoc(win, &loc);
    int dx = loc.X - start.X, dy = loc.Y - start.Y;
    if (!started && std::abs(dx) < kDragThreshold && std::abs(dy) < kDragThreshold) continue;
    started = true;
    _Rect16Rec next = *dragRect;
    next.Origin = _Point16Rec{static_cast<int16_t>(startOrigin.X + dx), static_cast<int16_t>(startOrigin.Y + dy)};
    if (drawn && RECT16_Equal(next, shown)) continue;
    if (drawn) drawOutline(win, shown, pen);
    *dragRect = next;
    drawOutline(win, next, pen);
    shown = next;
    drawn = true;
  }
  EVENT_TrackDownEnd(w);
  if (drawn) drawOutline(win, shown, pen);
  return dragRect->Origin.X != startOrigin.X || dragRect->Origin.Y != startOrigin.Y;
}
