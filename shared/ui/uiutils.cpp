// The shared utilities that need the display: the bell and fitting text
// into a width.
#include "shared/ui/uiutils.h"

#include <cstring>

#include "toolkit/draw.h"
#include "toolkit/dsply.h"
#include "toolkit/wgtpub.h"

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
