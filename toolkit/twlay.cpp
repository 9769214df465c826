// Text layout of the text editor.
#include "toolkit/twlay.h"

#include <algorithm>
#include <cstring>

#include "toolkit/draw.h"

namespace {

int measure(FontPtr font, UInt32 cp) {
  char buf[5];
  int n = 0;
  if (cp < 0x80) buf[n++] = static_cast<char>(cp);
  else if (cp < 0x800) {
    buf[n++] = static_cast<char>(0xC0 | (cp >> 6));
    buf[n++] = static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    buf[n++] = static_cast<char>(0xE0 | (cp >> 12));
    buf[n++] = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    buf[n++] = static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    buf[n++] = static_cast<char>(0xF0 | (cp >> 18));
    buf[n++] = static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    buf[n++] = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    buf[n++] = static_cast<char>(0x80 | (cp & 0x3F));
  }
  return DRAW_QueryTextExt(font, buf, n).X;
}

void resetCache(TWLayPtr lay) {
  for (int& a : lay->AsciiAdv) a = -1;
  lay->Adv.clear();
  lay->SpaceAdv = measure(lay->Font, ' ');
}

// Lays out the paragraph [beg, end) (end is the line feed or the text's
// end) and appends its lines.
void S_LayPara(TWLayPtr lay, Int32 beg, Int32 end, std::vector<TWLayLine>* out) {
  GStrPtr t = lay->Text;
  Int32 wrap = lay->WrapWidth;
  Int32 lineBeg = beg, x = 0;
  Int32 brk = -1, xAtBrk = 0;  // after the last blank of the line
  Int32 pos = beg;
  while (pos < end) {
    Int32 n = 1;
    UInt32 cp = static_cast<unsigned char>(GSTR_At(t, pos));
    if (cp >= 0x80) cp = GSTR_DecodeAt(t, pos, &n);
    int a = TWLAY_CharAdvance(lay, cp, x);
    bool blank = cp == ' ' || cp == '\t';
    if (wrap > 0 && !blank && x + a > wrap && pos > lineBeg) {
      // The break: after the last blank, or else before this character.
      Int32 at = brk > lineBeg ? brk : pos;
      Int32 w = brk > lineBeg ? xAtBrk : x;
      out->push_back({lineBeg, at, w, lineBeg == beg});
      lineBeg = at;
      brk = -1;
      // Measure the carried-over part again: tabs depend on x.
      x = 0;
      for (Int32 p = lineBeg; p < pos;) {
        Int32 k = 1;
        UInt32 c = static_cast<unsigned char>(GSTR_At(t, p));
        if (c >= 0x80) c = GSTR_DecodeAt(t, p, &k);
        x += TWLAY_CharAdvance(lay, c, x);
        p += k;
      }
      a = TWLAY_CharAdvance(lay, cp, x);
    }
    x += a;
    pos += n;
    if (blank) {
      brk = pos;
      xAtBrk = x;
    }
  }
  out->push_back({lineBeg, end, x, lineBeg == beg});
}

Int32 paraEnd(GStrPtr t, Int32 pos) {
  Int32 len = GSTR_GetLen(t);
  while (pos < len && GSTR_At(t, pos) != '\n') pos++;
  return pos;
}

}  // namespace

TWLayPtr TWLAY_New(GStrPtr text, FontPtr font) {
  TWLayPtr lay = new _TWLayRec{};
  lay->Text = text;
  lay->Font = font;
  lay->WrapWidth = 0;
  resetCache(lay);
  TWLAY_Recompute(lay);
  return lay;
}

void TWLAY_Dispose(TWLayPtr lay) { delete lay; }

void TWLAY_SetFont(TWLayPtr lay, FontPtr font) {
  if (!lay) return;
  lay->Font = font;
  resetCache(lay);
  TWLAY_Recompute(lay);
}

void TWLAY_SetWrapWidth(TWLayPtr lay, Int32 width) {
  if (!lay || lay->WrapWidth == width) return;
  lay->WrapWidth = width;
  TWLAY_Recompute(lay);
}

int TWLAY_CharAdvance(TWLayPtr lay, UInt32 cp, Int32 x) {
  if (cp == '\t') {
    int stop = 4 * lay->SpaceAdv;
    return stop > 0 ? stop - x % stop : 0;
  }
  if (cp < 0x20 || cp == 0x7F) return 0;  // control characters are not drawn
  if (cp < 128) {
    int& a = lay->AsciiAdv[cp];
    if (a < 0) a = measure(lay->Font, cp);
    return a;
  }
  auto it = lay->Adv.find(cp);
  if (it != lay->Adv.end()) return it->second;
  int a = measure(lay->Font, cp);
  if (lay->Adv.size() < 65536) lay->Adv[cp] = a;
  return a;
}

void TWLAY_Recompute(TWLayPtr lay) {
  if (!lay) return;
  lay->Lines.clear();
  Int32 len = GSTR_GetLen(lay->Text);
  Int32 pos = 0;
  for (;;) {
    Int32 end = paraEnd(lay->Text, pos);
    S_LayPara(lay, pos, end, &lay->Lines);
    if (end >= len) break;
    pos = end + 1;
  }
  lay->DocWidthStale = true;
}

void TWLAY_Update(TWLayPtr lay, Int32 pos, Int32 removed, Int32 inserted) {
  if (!lay) return;
  std::vector<TWLayLine>& lines = lay->Lines;
  if (lines.empty()) return TWLAY_Recompute(lay);
  // The first line of the paragraph that held pos, and the first line of
  // the paragraph after the one that held pos + removed (old positions).
  Int32 first = TWLAY_LineOfIndex(lay, pos);
  while (first > 0 && !lines[static_cast<size_t>(first)].ParaStart) first--;
  Int32 oldEnd = pos + removed;
  Int32 last = first;
  Int32 count = static_cast<Int32>(lines.size());
  while (last + 1 < count && lines[static_cast<size_t>(last + 1)].Beg <= oldEnd) last++;
  Int32 after = last + 1;
  while (after < count && !lines[static_cast<size_t>(after)].ParaStart) after++;
  Int32 delta = inserted - removed;
  // Lay out the new paragraphs from the first's start to the paragraph
  // end that follows the change.
  Int32 beg = lines[static_cast<size_t>(first)].Beg;
  Int32 len = GSTR_GetLen(lay->Text);
  std::vector<TWLayLine> fresh;
  Int32 p = beg;
  Int32 stop = pos + inserted;
  for (;;) {
    Int32 end = paraEnd(lay->Text, p);
    S_LayPara(lay, p, end, &fresh);
    if (end >= len || end >= stop) break;
    p = end + 1;
  }
  for (Int32 i = after; i < count; i++) {
    lines[static_cast<size_t>(i)].Beg += delta;
    lines[static_cast<size_t>(i)].End += delta;
  }
  lines.erase(lines.begin() + first, lines.begin() + after);
  lines.insert(lines.begin() + first, fresh.begin(), fresh.end());
  lay->DocWidthStale = true;
}

Int32 TWLAY_GetNumLines(TWLayPtr lay) { return lay ? static_cast<Int32>(lay->Lines.size()) : 0; }

const TWLayLine& TWLAY_GetLine(TWLayPtr lay, Int32 n) {
  Int32 count = static_cast<Int32>(lay->Lines.size());
  if (n >= count) n = count - 1;
  if (n < 0) n = 0;
  return lay->Lines[static_cast<size_t>(n)];
}

Int32 TWLAY_LineOfIndex(TWLayPtr lay, Int32 pos) {
  if (!lay || lay->Lines.empty()) return 0;
  auto it = std::upper_bound(lay->Lines.begin(), lay->Lines.end(), pos,
                             [](Int32 p, const TWLayLine& l) { return p < l.Beg; });
  Int32 n = static_cast<Int32>(it - lay->Lines.begin()) - 1;
  return n < 0 ? 0 : n;
}

Int32 TWLAY_IndexX(TWLayPtr lay, Int32 pos) {
  if (!lay || lay->Lines.empty()) return 0;
  const TWLayLine& l = TWLAY_GetLine(lay, TWLAY_LineOfIndex(lay, pos));
  Int32 x = 0;
  for (Int32 p = l.Beg; p < pos && p < l.End;) {
    Int32 n = 1;
    UInt32 cp = static_cast<unsigned char>(GSTR_At(lay->Text, p));
    if (cp >= 0x80) cp = GSTR_DecodeAt(lay->Text, p, &n);
    x += TWLAY_CharAdvance(lay, cp, x);
    p += n;
  }
  return x;
}

Int32 TWLAY_IndexAtX(TWLayPtr lay, Int32 line, Int32 x) {
  if (!lay || lay->Lines.empty()) return 0;
  const TWLayLine& l = TWLAY_GetLine(lay, line);
  // A soft-wrapped line ends before its trailing blank: a position at its
  // End would be shown on the next line.
  bool soft = line + 1 < TWLAY_GetNumLines(lay) && !TWLAY_GetLine(lay, line + 1).ParaStart;
  Int32 limit = soft ? GSTR_PrevChar(lay->Text, l.End) : l.End;
  if (limit < l.Beg) limit = l.Beg;
  Int32 cx = 0;
  for (Int32 p = l.Beg; p < limit;) {
    Int32 n = 1;
    UInt32 cp = static_cast<unsigned char>(GSTR_At(lay->Text, p));
    if (cp >= 0x80) cp = GSTR_DecodeAt(lay->Text, p, &n);
    int a = TWLAY_CharAdvance(lay, cp, cx);
    if (x < cx + (a + 1) / 2) return p;
    cx += a;
    p += n;
  }
  return limit;
}

Int32 TWLAY_GetDocWidth(TWLayPtr lay) {
  if (!lay) return 0;
  if (lay->DocWidthStale) {
    Int32 w = 0;
    for (const TWLayLine& l : lay->Lines) w = std::max(w, l.Width);
    lay->DocWidth = w;
    lay->DocWidthStale = false;
  }
  return lay->DocWidth;
}
