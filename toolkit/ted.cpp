// Text editors: the class, the text and selection calls, drawing, and the
// reaction to the mouse, the keys and the focus.
#include "toolkit/ted.h"

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "toolkit/autom.h"
#include "toolkit/dsply.h"
#include "toolkit/dsplysel.h"
#include "toolkit/pfld.h"
#include "toolkit/strres.h"
#include "toolkit/tbut.h"
#include "toolkit/winpub.h"

namespace {

#define TED_FIELD(name, member, type, kind) PFLD_MEMBER(_TEdObj, name, member, type, kind)

_PFldRec sTEdFields[] = {TED_FIELD("ValKeys", ValKeys, PFLD_VSTR, PFLD_KINDTEXT),
                         TED_FIELD("MaxLen", MaxLen, PFLD_INT32, PFLD_KINDVALUE),
                         TED_FIELD("Justif", Justif, PFLD_UINT16, PFLD_KINDVALUE),
                         TED_FIELD("OptFlags", OptFlags, PFLD_UINT16, PFLD_KINDVALUE),
                         TED_FIELD("LeftMargin", LeftMargin, PFLD_INT16, PFLD_KINDGEOMETRY),
                         TED_FIELD("RightMargin", RightMargin, PFLD_INT16, PFLD_KINDGEOMETRY),
                         TED_FIELD("Width", Width, PFLD_INT16, PFLD_KINDGEOMETRY),
                         TED_FIELD("LabelFont", LabelFontName, PFLD_VSTR, PFLD_KINDVALUE),
                         TED_FIELD("LabelFgColor", LabelFgColorName, PFLD_VSTR, PFLD_KINDVALUE),
                         TED_FIELD("LabelBgColor", LabelBgColorName, PFLD_VSTR, PFLD_KINDVALUE),
                         TED_FIELD("LabelPen", LabelPenName, PFLD_VSTR, PFLD_KINDVALUE),
                         TED_FIELD("LabelPattern", LabelPatternName, PFLD_VSTR, PFLD_KINDVALUE),
                         TED_FIELD("InitialText", InitialText, PFLD_VSTR, PFLD_KINDTEXT),
                         TED_FIELD("Label", Label, PFLD_VSTR, PFLD_KINDTEXT),
                         {nullptr, 0, 0, 0, 0, -1}};

RClasPtr sTEd = nullptr;

// The alarm that watches a paste while it waits for its text.
char sPasteTag;
const ClientPtr kPasteAlarm = &sPasteTag;
constexpr Int kPastePollMs = 50;
constexpr int kDefPasteTimeoutMs = 2000;
// A third click within this time of the second selects the line.
constexpr int64_t kTripleClickMs = 500;
enum { kPasteNone = 0, kPasteClipboard = 1, kPastePrimary = 2 };

int px(int n) { return n * DSPLY_GetScreenDpi() / 96; }

WgtPtr W(TEdPtr t) { return TED_Wgt(t); }
ResPtr R(TEdPtr t) { return WGT_Res(W(t)); }
bool initialized(TEdPtr t) { return R(t)->ResInitialized; }
bool multiLine(TEdPtr t) { return (t->OptFlags & TED_OPTMULTILINE) != 0; }
bool readOnly(TEdPtr t) { return (t->OptFlags & TED_OPTREADONLY) != 0; }
bool maskMode(TEdPtr t) { return (t->OptFlags & TED_OPTMASK) != 0; }
Int32 textLen(TEdPtr t) { return GSTR_GetLen(t->Text); }

// How long a paste waits for each answer: OWB_PASTE_TIMEOUT milliseconds
// (tests shorten it), else 2 seconds.
int pasteTimeoutMs() {
  if (const char* env = std::getenv("OWB_PASTE_TIMEOUT")) {
    int v = std::atoi(env);
    if (v > 0 && v <= 600000) return v;
  }
  return kDefPasteTimeoutMs;
}

// An index as a position in the text: -1 and anything past the end is the
// end; inside a character, that character's start.
Int32 S_Clamp(TEdPtr t, Int32 index) {
  Int32 len = textLen(t);
  if (index < 0 || index > len) return len;
  return GSTR_CharStart(t->Text, index);
}

Int32 S_Caret(TEdPtr t) { return t->Sel.L2R ? t->Sel.End : t->Sel.Beg; }

// Sends a notification; false when the editor was deleted by it.
bool S_Notify(TEdPtr t, Int message, ClientPtr data = nullptr) {
  ResPtr r = R(t);
  RES_Use(r);
  WGT_Send(W(t), message, data);
  bool alive = r->ResPrivate5 > 1;
  RES_Release(r);
  return alive;
}

FontPtr S_Font(TEdPtr t) { return WGT_GetFont(W(t)); }
int S_LineH(TEdPtr t) {
  int h = FONT_GetHeight(S_Font(t));
  return h > 0 ? h : 1;
}

// --- Geometry -------------------------------------------------------------------------

int S_LabelWidth(TEdPtr t) {
  if (!t->Label || !*t->Label) return 0;
  if (t->Width > 0) return WGT_ScaleX16(W(t), t->Width);
  FontPtr f = t->LabelFont ? t->LabelFont : S_Font(t);
  return DRAW_QueryTextExt(f, t->Label, -1).X + px(8);
}

// The field: the box less the label column.
_Rect16Rec S_FieldBox(TEdPtr t) {
  WgtPtr w = W(t);
  int lw = S_LabelWidth(t);
  int fw = w->Box.Extent.X - lw;
  return RECT16_Make(lw, 0, fw < 0 ? 0 : fw, w->Box.Extent.Y);
}

int S_Border(TEdPtr t) { return (t->OptFlags & TED_OPTNOBORDER) ? 0 : 1; }

}  // namespace

namespace {

int S_LeftMargin(TEdPtr t) { return t->LeftMargin > 0 ? WGT_ScaleX16(W(t), t->LeftMargin) : px(5); }
int S_RightMargin(TEdPtr t) { return t->RightMargin > 0 ? WGT_ScaleX16(W(t), t->RightMargin) : px(5); }
int S_TopMargin(TEdPtr t) { return multiLine(t) ? px(3) : 0; }
bool S_Wraps(TEdPtr t) { return multiLine(t) && (t->OptFlags & TED_OPTWRAP); }

// Places the scrolling area inside the field's frame, with the left and
// top margins as its headings: its body is then the text box plus the
// right margin, which belongs to the document so that the end of the
// longest line can be scrolled clear of the edge.
void S_Place(TEdPtr t) {
  SAreaPtr a = TED_SArea(t);
  _Rect16Rec box = RECT16_Inset(S_FieldBox(t), S_Border(t));
  if (box.Extent.X < 1) box.Extent.X = 1;
  if (box.Extent.Y < 1) box.Extent.Y = 1;
  UInt16 flags = multiLine(t) ? static_cast<UInt16>(SAREA_VSB | (S_Wraps(t) ? 0 : SAREA_HSB)) : 0;
  _Point16Rec head{static_cast<Int16>(S_LeftMargin(t)), static_cast<Int16>(S_TopMargin(t))};
  a->StepY = S_LineH(t);
  if (RECT16_Equal(a->AreaBox, box) && a->HVFlags == flags && a->HeadExt.X == head.X && a->HeadExt.Y == head.Y)
    return;
  a->AreaBox = box;
  a->HVFlags = flags;
  a->HeadExt = head;
  a->HeadSep = a->SbSep = 0;
  SAreaLayout(a);
}

}  // namespace

_Rect16Rec TEdQueryTextBox(TEdPtr ted) {
  S_Place(ted);
  _Rect16Rec v = SAREA_GetViewBox(TED_SArea(ted));
  int w = v.Extent.X - S_RightMargin(ted);
  return RECT16_Make(v.Origin.X, v.Origin.Y, w < 0 ? 0 : w, v.Extent.Y);
}

namespace {

int S_CaretW() { return px(2); }

// Gives the scrolling area the extent of the laid-out text; true when the
// text box's width changed with it (a bar came or went).
bool S_SetDocExt(TEdPtr t) {
  SAreaPtr a = TED_SArea(t);
  TWLayPtr lay = t->Lay;
  Int32 width = multiLine(t) ? TWLAY_GetDocWidth(lay) : TWLAY_GetLine(lay, 0).Width;
  int64_t height = multiLine(t) ? static_cast<int64_t>(TWLAY_GetNumLines(lay)) * S_LineH(t) + S_TopMargin(t) : 0;
  Int16 before = a->ViewBox.Extent.X;
  SAREA_SetDocExt(a, width + S_CaretW() + S_RightMargin(t), height > INT32_MAX ? INT32_MAX : static_cast<Int32>(height));
  return a->ViewBox.Extent.X != before;
}

// The layout, up to date with the text, the font and the width.  With
// wrapping, a bar that appears narrows the text, so the text is laid out
// again (it then only grows taller and the bar stays).
TWLayPtr S_Lay(TEdPtr t) {
  for (int pass = 0; pass < 3; pass++) {
    Int32 wrap = S_Wraps(t) ? TEdQueryTextBox(t).Extent.X : 0;
    if (wrap < 0) wrap = 0;
    if (!t->Lay) {
      t->Lay = TWLAY_New(t->Text, S_Font(t));
      t->Lay->WrapWidth = wrap;
      TWLAY_Recompute(t->Lay);
      t->LayStale = 0;
    } else if (t->LayStale || t->Lay->Font != S_Font(t) || t->Lay->WrapWidth != wrap) {
      t->Lay->WrapWidth = wrap;
      TWLAY_SetFont(t->Lay, S_Font(t));  // lays out again
      t->LayStale = 0;
    }
    if (!S_SetDocExt(t) || !S_Wraps(t)) break;
  }
  return t->Lay;
}

// Top of the first line in widget coordinates, before scrolling.
int S_TextTop(TEdPtr t) {
  _Rect16Rec tb = TEdQueryTextBox(t);
  if (multiLine(t)) return tb.Origin.Y;
  return tb.Origin.Y + (tb.Extent.Y - S_LineH(t)) / 2;
}

// Left of a line's text in widget coordinates, before scrolling.
int S_LineLeft(TEdPtr t, const TWLayLine& line) {
  _Rect16Rec tb = TEdQueryTextBox(t);
  if (multiLine(t) || t->Justif == TED_JUSTLEFT || line.Width >= tb.Extent.X) return tb.Origin.X;
  int room = tb.Extent.X - line.Width;
  return tb.Origin.X + (t->Justif == TED_JUSTCENTER ? room / 2 : room);
}

void S_Inval(TEdPtr t) {
  if (initialized(t)) WGT_Inval(W(t), nullptr);
}

// Asks for the insert position to be brought into view at the next
// recalculation.
void S_PostShowInsert(TEdPtr t) {
  WgtPtr w = W(t);
  if (!w->NeedsRecal) {
    w->RecalFlag |= TED_RECALLAYOUT | TED_RECALSHOWINSERT;
    EVENT_PostRecal(w);
  } else {
    w->RecalFlag |= TED_RECALSHOWINSERT;
  }
}

// Scrolls the caret into view: horizontally with a third of the width as
// context when it has to move, vertically by as little as needed.  The
// area keeps the position inside the text and the bars' thumbs with it.
void S_ShowInsert(TEdPtr t) {
  TWLayPtr lay = S_Lay(t);
  SAreaPtr a = TED_SArea(t);
  _Rect16Rec tb = TEdQueryTextBox(t);
  Int32 caret = S_Caret(t);
  int64_t x = TWLAY_IndexX(lay, caret);
  int64_t sx = a->DocBox.X, sy = a->DocBox.Y;
  if (x - sx > tb.Extent.X - S_CaretW()) sx = x - tb.Extent.X * 2 / 3;
  if (x - sx < 0) sx = x - tb.Extent.X / 3;
  if (multiLine(t)) {
    int lineH = S_LineH(t);
    int64_t y = static_cast<int64_t>(TWLAY_LineOfIndex(lay, caret)) * lineH;
    if (y - sy < 0) sy = y;
    if (y + lineH - sy > tb.Extent.Y) sy = y + lineH - tb.Extent.Y;
  } else {
    sy = 0;
  }
  auto fit = [](int64_t v) { return static_cast<Int32>(v < 0 ? 0 : v > INT32_MAX ? INT32_MAX : v); };
  SAREA_ScrollTo(a, fit(sx), fit(sy));
}

Int32 S_ScrollX(TEdPtr t) { return TED_SArea(t)->DocBox.X; }
Int32 S_ScrollY(TEdPtr t) { return TED_SArea(t)->DocBox.Y; }

// --- Drawing ----------------------------------------------------------------------------

// A read-only field draws no caret: nothing can be typed there, and the
// focus ring already shows where the keyboard is.
bool S_CaretVisible(TEdPtr t) {
  return t->CaretShown && !readOnly(t) && WGT_HasFocus(W(t), 1) && WGT_IsEnabled(W(t));
}

// Draws [beg, end) of a line from x; tabs and control characters are
// skipped as blanks of their width.  Only what lies between visLeft and
// visRight (widget coordinates) is sent to the display: a line of a
// megabyte costs no more than a screen's width.
void S_DrawRun(TEdPtr t, DrawPtr d, ColorPtr color, int x, int baseline, Int32 beg, Int32 end, int visLeft,
               int visRight) {
  TWLayPtr lay = t->Lay;
  std::string scratch;
  Int32 runBeg = -1;
  int runX = 0, cx = 0;
  auto flush = [&](Int32 upTo) {
    if (runBeg >= 0 && upTo > runBeg)
      DRAW_Text(d, S_Font(t), color, runX, baseline, GSTR_Range(t->Text, runBeg, upTo, &scratch), upTo - runBeg);
    runBeg = -1;
  };
  for (Int32 p = beg; p < end;) {
    Int32 n = 1;
    UInt32 cp = static_cast<unsigned char>(GSTR_At(t->Text, p));
    if (cp >= 0x80) cp = GSTR_DecodeAt(t->Text, p, &n);
    int a = TWLAY_CharAdvance(lay, cp, cx);
    int at = x + cx;
    if (at > visRight) break;
    bool drawn = cp >= 0x20 && cp != 0x7F && at + a >= visLeft;
    if (!drawn) flush(p);
    else if (runBeg < 0) {
      runBeg = p;
      runX = at;
    }
    cx += a;
    p += n;
    if (p >= end || x + cx > visRight) {
      flush(p);
      if (x + cx > visRight) return;
    }
  }
  flush(end);
}

void S_DrawLabel(TEdPtr t, DrawPtr d) {
  int lw = S_LabelWidth(t);
  if (lw <= 0) return;
  WgtPtr w = W(t);
  _Rect16Rec box = RECT16_Make(0, 0, lw, w->Box.Extent.Y);
  DRAW_FillRect(d, box, t->LabelBgColor ? t->LabelBgColor : WGT_GetBgColor(w));
  FontPtr f = t->LabelFont ? t->LabelFont : S_Font(t);
  ColorPtr c = !WGT_IsEnabled(w) ? COLOR_DisabledText() : t->LabelFgColor ? t->LabelFgColor : WGT_GetFgColor(w);
  // On the first line of the text: centred in a single-line field.
  int y = S_TextTop(t) + (S_LineH(t) - FONT_GetHeight(f)) / 2 + FONT_GetAscent(f);
  DRAW_ClipRect(d, box);
  DRAW_Text(d, f, c, 0, y, t->Label, -1);
}

void S_Redraw(TEdPtr t) {
  WgtPtr w = W(t);
  TWLayPtr lay = S_Lay(t);
  DrawPtr labelDraw = WGT_BeginDraw(w);
  S_DrawLabel(t, labelDraw);
  WGT_EndDraw(labelDraw);
  DrawPtr d = WGT_BeginDraw(w);
  _Rect16Rec field = S_FieldBox(t);
  bool enabled = WGT_IsEnabled(w);
  bool focused = WGT_HasFocus(w, 1) && enabled;
  ColorPtr bg = !enabled ? COLOR_Window() : readOnly(t) ? COLOR_Face() : COLOR_White();
  DRAW_FillRect(d, field, bg);
  if (S_Border(t)) {
    DRAW_FrameRect(d, field, focused ? COLOR_Accent() : COLOR_Border(), PEN_Solid());
    if (focused) DRAW_FrameRect(d, RECT16_Inset(field, 1), COLOR_Accent(), PEN_Solid());
  }
  _Rect16Rec tb = TEdQueryTextBox(t);
  DRAW_ClipRect(d, tb);
  FontPtr font = S_Font(t);
  int lineH = S_LineH(t);
  int top = S_TextTop(t) - S_ScrollY(t);
  Int32 count = TWLAY_GetNumLines(lay);
  Int32 first = S_ScrollY(t) / lineH;
  if (first < 0) first = 0;
  ColorPtr fg = enabled ? WGT_GetFgColor(w) : COLOR_DisabledText();
  Int32 selBeg = t->Sel.Beg, selEnd = t->Sel.End;
  bool showSel = t->Highlit && selEnd > selBeg && focused;
  for (Int32 i = first; i < count; i++) {
    int y = top + i * lineH;
    if (y >= tb.Origin.Y + tb.Extent.Y) break;
    const TWLayLine& line = TWLAY_GetLine(lay, i);
    int left = S_LineLeft(t, line) - S_ScrollX(t);
    if (showSel && selBeg <= line.End && selEnd > line.Beg) {
      Int32 b = selBeg > line.Beg ? selBeg : line.Beg;
      Int32 e = selEnd < line.End ? selEnd : line.End;
      int x1 = left + TWLAY_IndexX(lay, b);
      int x2 = left + TWLAY_IndexX(lay, e);
      // A selected line feed shows as a little room after the text.
      if (selEnd > line.End && multiLine(t)) x2 += lay->SpaceAdv;
      if (x2 > x1) DRAW_FillRect(d, RECT16_Make(x1, y, x2 - x1, lineH), COLOR_Selection());
    }
    S_DrawRun(t, d, fg, left, y + FONT_GetAscent(font), line.Beg, line.End, tb.Origin.X,
              tb.Origin.X + tb.Extent.X);
  }
  if (S_CaretVisible(t)) {
    Int32 caret = S_Caret(t);
    Int32 li = TWLAY_LineOfIndex(lay, caret);
    const TWLayLine& line = TWLAY_GetLine(lay, li);
    int x = S_LineLeft(t, line) - S_ScrollX(t) + TWLAY_IndexX(lay, caret);
    int y = top + li * lineH;
    if (t->Overstrike) {
      Int32 n = 1;
      UInt32 cp = caret < line.End ? GSTR_DecodeAt(t->Text, caret, &n) : ' ';
      int a = TWLAY_CharAdvance(lay, cp, 0);
      DRAW_FrameRect(d, RECT16_Make(x, y, a > 2 ? a : lay->SpaceAdv, lineH), fg, PEN_Solid());
    } else {
      DRAW_FillRect(d, RECT16_Make(x, y, px(1) > 1 ? px(1) : 1, lineH), fg);
    }
  }
  WGT_EndDraw(d);
  SAreaDrawBars(TED_SArea(t));
}

// --- Caret and highlight -------------------------------------------------------------------

void S_ShowCursor(TEdPtr t) {
  if (t->CaretShown) return;
  t->CaretShown = 1;
  S_Inval(t);
  S_Notify(t, TED_NFYSHOWCURSOR);
}

void S_HideCursor(TEdPtr t) {
  if (!t->CaretShown) return;
  t->CaretShown = 0;
  S_Inval(t);
  S_Notify(t, TED_NFYHIDECURSOR);
}

// --- Editing ----------------------------------------------------------------------------------

// Text as it goes into this editor: valid UTF-8, line ends as line feeds,
// and in a single-line editor no line breaks at all.
std::string S_Prepare(TEdPtr t, const char* text, size_t len) {
  std::string clean = GSTR_CleanUtf8(text, len);
  std::string out;
  out.reserve(clean.size());
  for (size_t i = 0; i < clean.size(); i++) {
    char c = clean[i];
    if (c == '\r') {
      if (i + 1 < clean.size() && clean[i + 1] == '\n') continue;
      c = '\n';
    }
    if (c == '\n' && !multiLine(t)) c = ' ';
    out.push_back(c);
  }
  return out;
}

void S_OfferPrimary(TEdPtr t) {
  if (t->Sel.End <= t->Sel.Beg || !DSPLY_IsOpen()) return;
  std::string text;
  GSTR_CopyRange(t->Text, t->Sel.Beg, t->Sel.End, &text);
  DSPLY_OwnSelection(DSPLY_SELPRIMARY, text);
}

// Replaces [beg, end) with text (prepared), cutting it at MaxLen; the caret
// goes after it.  False when the editor was deleted by a notification.
bool S_Replace(TEdPtr t, Int32 beg, Int32 end, const std::string& prepared) {
  beg = S_Clamp(t, beg);
  end = S_Clamp(t, end);
  if (end < beg) std::swap(beg, end);
  std::string text = prepared;
  bool full = false;
  if (t->MaxLen > 0) {
    int64_t rest = static_cast<int64_t>(textLen(t)) - (end - beg);
    int64_t room = t->MaxLen - rest;
    if (room < 0) room = 0;
    if (static_cast<int64_t>(text.size()) > room) {
      text.resize(GSTR_Utf8Prefix(text.data(), text.size(), static_cast<size_t>(room)));
      full = true;
      DSPLY_Beep();
      if (text.empty()) return S_Notify(t, TED_NFYFULL);
    }
  }
  if (text.size() > static_cast<size_t>(INT32_MAX / 4)) text.resize(GSTR_Utf8Prefix(text.data(), text.size(), INT32_MAX / 4));
  Int32 n = static_cast<Int32>(text.size());
  GSTR_Delete(t->Text, beg, end - beg);
  GSTR_Insert(t->Text, beg, text.data(), n);
  if (t->Lay && !t->LayStale) TWLAY_Update(t->Lay, beg, end - beg, n);
  t->Sel = TEdSelRec{beg + n, beg + n, 1};
  t->Anchor = beg + n;
  t->GoalX = -1;
  WGT_SetModified(W(t), 1);
  S_Inval(t);
  S_PostShowInsert(t);
  if (full) return S_Notify(t, TED_NFYFULL);
  return true;
}

bool S_ReplaceSel(TEdPtr t, const std::string& prepared) { return S_Replace(t, t->Sel.Beg, t->Sel.End, prepared); }

// Moves the caret, or with extend one end of the selection (the anchor
// stays).
void S_MoveTo(TEdPtr t, Int32 pos, bool extend, bool keepGoal = false) {
  pos = S_Clamp(t, pos);
  if (!extend) {
    t->Sel = TEdSelRec{pos, pos, 1};
    t->Anchor = pos;
  } else {
    Int32 a = t->Anchor;
    t->Sel = pos >= a ? TEdSelRec{a, pos, 1} : TEdSelRec{pos, a, 0};
  }
  if (!keepGoal) t->GoalX = -1;
  S_Inval(t);
  S_PostShowInsert(t);
}

bool isWordChar(UInt32 cp) {
  if (cp >= 0x80) return cp != 0xA0 && cp != 0x3000;  // letters of other scripts count as word
  return (cp >= '0' && cp <= '9') || (cp >= 'a' && cp <= 'z') || (cp >= 'A' && cp <= 'Z') || cp == '_';
}

UInt32 cpAt(TEdPtr t, Int32 pos) { return GSTR_DecodeAt(t->Text, pos, nullptr); }

Int32 S_WordRight(TEdPtr t, Int32 pos) {
  Int32 len = textLen(t);
  while (pos < len && !isWordChar(cpAt(t, pos))) pos = GSTR_NextChar(t->Text, pos);
  while (pos < len && isWordChar(cpAt(t, pos))) pos = GSTR_NextChar(t->Text, pos);
  return pos;
}

Int32 S_WordLeft(TEdPtr t, Int32 pos) {
  while (pos > 0 && !isWordChar(cpAt(t, GSTR_PrevChar(t->Text, pos)))) pos = GSTR_PrevChar(t->Text, pos);
  while (pos > 0 && isWordChar(cpAt(t, GSTR_PrevChar(t->Text, pos)))) pos = GSTR_PrevChar(t->Text, pos);
  return pos;
}

// The word (or run of other characters) around pos.
void S_WordAt(TEdPtr t, Int32 pos, Int32* beg, Int32* end) {
  Int32 len = textLen(t);
  if (len == 0) {
    *beg = *end = 0;
    return;
  }
  if (pos >= len) pos = GSTR_PrevChar(t->Text, len);
  bool word = isWordChar(cpAt(t, pos));
  Int32 b = pos, e = pos;
  while (b > 0) {
    Int32 p = GSTR_PrevChar(t->Text, b);
    UInt32 c = cpAt(t, p);
    if (isWordChar(c) != word || c == '\n') break;
    b = p;
  }
  while (e < len) {
    UInt32 c = cpAt(t, e);
    if (isWordChar(c) != word || c == '\n') break;
    e = GSTR_NextChar(t->Text, e);
  }
  if (e == b) e = GSTR_NextChar(t->Text, b);
  *beg = b;
  *end = e;
}

// The line (up to the line feed) around pos.
void S_LineAt(TEdPtr t, Int32 pos, Int32* beg, Int32* end) {
  Int32 len = textLen(t);
  Int32 b = pos, e = pos;
  while (b > 0 && GSTR_At(t->Text, b - 1) != '\n') b--;
  while (e < len && GSTR_At(t->Text, e) != '\n') e++;
  if (e < len) e++;  // with its line feed
  *beg = b;
  *end = e;
}

// --- Keys -------------------------------------------------------------------------------------

bool S_LookSelectsWithShift() {
  // The classic looks 0, 2, 3 and 4 select with Shift+Home and Shift+End;
  // the toolkit's one flat look is the PC look of today and does too.
  Int look = DSPLY_GetLook();
  return look == 0 || look == 2 || look == 3 || look == 4 || look == DSPLY_LOOKFLAT;
}

void S_KeyHomeEnd(TEdPtr t, bool home, UInt mods) {
  bool shift = (mods & EVENT_MODSHIFT) != 0;
  bool ctrl = (mods & EVENT_MODCONTROL) != 0;
  TWLayPtr lay = S_Lay(t);
  Int32 target;
  if (multiLine(t) && !ctrl) {
    // In a multi-line editor: the start or end of the line shown.
    Int32 li = TWLAY_LineOfIndex(lay, S_Caret(t));
    const TWLayLine& l = TWLAY_GetLine(lay, li);
    target = home ? l.Beg : TWLAY_IndexAtX(lay, li, INT32_MAX / 2);
  } else {
    target = home ? 0 : textLen(t);
  }
  if (shift && S_LookSelectsWithShift()) {
    if (multiLine(t)) {
      S_MoveTo(t, target, true);
      return;
    }
    // Home selects from the start to the end of the present selection,
    // End from its start to the end of the text.
    t->Sel = home ? TEdSelRec{target, t->Sel.End, 0} : TEdSelRec{t->Sel.Beg, target, 1};
    t->Anchor = home ? t->Sel.End : t->Sel.Beg;
    t->GoalX = -1;
    S_Inval(t);
    S_PostShowInsert(t);
    return;
  }
  S_MoveTo(t, target, false);
}

// Horizontal step h (1 a character, 2 a word) or vertical step v (3 a
// line, 4 a paragraph), with the sign as the direction.
void S_KeyArrow(TEdPtr t, Int h, Int v, UInt mods) {
  bool extend = (mods & EVENT_MODSHIFT) != 0;
  if (mods & EVENT_MODCONTROL) {
    h *= 2;
    v = v > 0 ? 4 : v < 0 ? -4 : 0;
  }
  Int32 caret = S_Caret(t);
  if (h) {
    // Without Shift an arrow over a selection lands on its side.
    if (!extend && t->Sel.End > t->Sel.Beg && (h == 1 || h == -1)) {
      S_MoveTo(t, h < 0 ? t->Sel.Beg : t->Sel.End, false);
      return;
    }
    Int32 pos = caret;
    if (h == 1) pos = GSTR_NextChar(t->Text, pos);
    else if (h == -1) pos = GSTR_PrevChar(t->Text, pos);
    else if (h > 0) pos = S_WordRight(t, pos);
    else pos = S_WordLeft(t, pos);
    S_MoveTo(t, pos, extend);
    return;
  }
  if (!multiLine(t)) return;
  TWLayPtr lay = S_Lay(t);
  Int32 pos;
  if (v == 4 || v == -4) {
    Int32 b, e;
    S_LineAt(t, caret, &b, &e);
    pos = v < 0 ? (caret > b ? b : (b > 0 ? (S_LineAt(t, b - 1, &b, &e), b) : 0)) : e;
    S_MoveTo(t, pos, extend);
    return;
  }
  Int32 li = TWLAY_LineOfIndex(lay, caret);
  if (t->GoalX < 0) t->GoalX = TWLAY_IndexX(lay, caret);
  Int32 step = v / 3;
  Int32 target = li + step;
  if (target < 0) pos = 0;
  else if (target >= TWLAY_GetNumLines(lay)) pos = textLen(t);
  else pos = TWLAY_IndexAtX(lay, target, t->GoalX);
  S_MoveTo(t, pos, extend, true);
}

void S_KeyPage(TEdPtr t, int direction, UInt mods) {
  if (!multiLine(t)) return;
  TWLayPtr lay = S_Lay(t);
  int lineH = S_LineH(t);
  Int32 page = TEdQueryTextBox(t).Extent.Y / lineH - 1;
  if (page < 1) page = 1;
  Int32 caret = S_Caret(t);
  if (t->GoalX < 0) t->GoalX = TWLAY_IndexX(lay, caret);
  Int32 target = TWLAY_LineOfIndex(lay, caret) + direction * page;
  Int32 count = TWLAY_GetNumLines(lay);
  if (target < 0) target = 0;
  if (target >= count) target = count - 1;
  SAREA_ScrollBy(TED_SArea(t), 0, direction * page * lineH);
  S_MoveTo(t, TWLAY_IndexAtX(lay, target, t->GoalX), (mods & EVENT_MODSHIFT) != 0, true);
}

// Shift+Delete cuts.
bool S_KyLstCut(Int key, UInt mods) { return key == EVENT_KEYDELETE && (mods & EVENT_MODSHIFT); }

void S_KeyDelete(TEdPtr t, Int key, UInt mods) {
  if (S_KyLstCut(key, mods)) {
    TED_SelCut(t);
    return;
  }
  if (t->Sel.End == t->Sel.Beg) {
    if (t->Sel.Beg >= textLen(t)) return;
    Int32 next = (mods & EVENT_MODCONTROL) ? S_WordRight(t, t->Sel.Beg) : GSTR_NextChar(t->Text, t->Sel.Beg);
    t->Sel.End = next;
  }
  S_ReplaceSel(t, std::string());
}

void S_KeyBackspace(TEdPtr t, UInt mods) {
  if (t->Sel.End == t->Sel.Beg) {
    if (t->Sel.Beg == 0) return;
    t->Sel.Beg = (mods & EVENT_MODCONTROL) ? S_WordLeft(t, t->Sel.Beg) : GSTR_PrevChar(t->Text, t->Sel.Beg);
  }
  S_ReplaceSel(t, std::string());
}

// A typed character: replaces the selection, or in overstrike mode the
// character after the caret (never a line feed).
void S_NormalTEdKeyChar(TEdPtr t, const char* text) {
  std::string s = S_Prepare(t, text, std::strlen(text));
  if (s.empty()) return;
  if (t->Overstrike && t->Sel.End == t->Sel.Beg && t->Sel.End < textLen(t) && GSTR_At(t->Text, t->Sel.End) != '\n')
    t->Sel.End = GSTR_NextChar(t->Text, t->Sel.End);
  S_ReplaceSel(t, s);
}

// Typing keeps a selection and inserts at its end: the preserving form.
void S_PreservingTEdKeyChar(TEdPtr t, const char* text) {
  if (t->Sel.End > t->Sel.Beg) S_MoveTo(t, t->Sel.End, false);
  S_NormalTEdKeyChar(t, text);
}

// In mask mode typing is what changes the text; with no mask format it
// behaves as the plain form.
void S_MaskTEdKeyChar(TEdPtr t, const char* text) { S_NormalTEdKeyChar(t, text); }

bool S_IsCharKey(TEdPtr t, Int key, UInt mods) {
  (void)t;
  if (key != EVENT_KEYNORMAL) return false;
  // Control and Alt make a command of a key; AltGr makes characters.
  return (mods & (EVENT_MODCONTROL | EVENT_MODALT)) == 0 || (mods & EVENT_MODALTGR);
}

// Keys the editor takes before the window's accelerators while it has the
// focus: the clipboard, select-all, Return.
bool S_KeyAccel(TEdPtr t) {
  Int key = EVENT_GetKeyCode();
  UInt mods = EVENT_GetKbMods() & (EVENT_MODSHIFT | EVENT_MODCONTROL | EVENT_MODALT);
  char c = EVENT_GetKbAsciiChar();
  if (key == EVENT_KEYCONTROL && c > 0 && c < 27) c = static_cast<char>('a' + c - 1);
  bool ctrl = mods == EVENT_MODCONTROL;
  if (key == EVENT_KEYRETURN || key == EVENT_KEYENTER) {
    if (multiLine(t)) {
      if (!readOnly(t) && mods == 0) S_ReplaceSel(t, "\n");
      return mods == 0;
    }
    S_Notify(t, TED_NFYVALIDATE);
    return false;  // handled only when the procedure said so
  }
  if (t->ValKeys && *t->ValKeys && TBUT_MatchKeys(t->ValKeys)) {
    S_Notify(t, TED_NFYVALIDATE);
    return false;
  }
  if ((ctrl && (c == 'c' || c == 'C')) || (key == EVENT_KEYINSERT && mods == EVENT_MODCONTROL) ||
      key == EVENT_KEYCOPY) {
    TED_SelCopy(t);
    return true;
  }
  if ((ctrl && (c == 'x' || c == 'X')) || (key == EVENT_KEYDELETE && mods == EVENT_MODSHIFT) || key == EVENT_KEYCUT) {
    TED_SelCut(t);
    return true;
  }
  if ((ctrl && (c == 'v' || c == 'V')) || (key == EVENT_KEYINSERT && mods == EVENT_MODSHIFT) ||
      key == EVENT_KEYPASTE) {
    TED_SelPaste(t);
    return true;
  }
  if (ctrl && (c == 'a' || c == 'A')) {
    TED_SelectAll(t);
    S_OfferPrimary(t);
    return true;
  }
  return false;
}

void S_KeyChar(TEdPtr t) {
  Int key = EVENT_GetKeyCode();
  UInt mods = EVENT_GetKbMods();
  UInt cmods = mods & (EVENT_MODSHIFT | EVENT_MODCONTROL | EVENT_MODALT);
  WgtPtr w = W(t);
  Int32 selBeg = t->Sel.Beg, selEnd = t->Sel.End;
  switch (key) {
    case EVENT_KEYLEFT: S_KeyArrow(t, -1, 0, cmods); break;
    case EVENT_KEYRIGHT: S_KeyArrow(t, 1, 0, cmods); break;
    case EVENT_KEYUP:
      if (!multiLine(t)) return;
      S_KeyArrow(t, 0, -3, cmods);
      break;
    case EVENT_KEYDOWN:
      if (!multiLine(t)) return;
      S_KeyArrow(t, 0, 3, cmods);
      break;
    case EVENT_KEYHOME: S_KeyHomeEnd(t, true, cmods); break;
    case EVENT_KEYEND: S_KeyHomeEnd(t, false, cmods); break;
    case EVENT_KEYPREVPAGE:
      if (!multiLine(t)) return;
      S_KeyPage(t, -1, cmods);
      break;
    case EVENT_KEYNEXTPAGE:
      if (!multiLine(t)) return;
      S_KeyPage(t, 1, cmods);
      break;
    case EVENT_KEYINSERT:
      if (cmods) return;
      TED_ToggleOverstrikeMode(t);
      break;
    case EVENT_KEYBACKSPACE:
      if (readOnly(t)) return;
      S_KeyBackspace(t, cmods);
      break;
    case EVENT_KEYDELETE:
      if (readOnly(t)) return;
      S_KeyDelete(t, key, cmods);
      break;
    default: {
      if (!S_IsCharKey(t, key, mods)) return;
      const char* text = EVENT_GetKbStr();
      if (!text[0]) return;
      if (readOnly(t)) {
        WGT_KeyHandled(w);  // swallowed: a read-only field takes no text
        return;
      }
      if (t->OptFlags & TED_OPTPRESERVING) S_PreservingTEdKeyChar(t, text);
      else if (maskMode(t)) S_MaskTEdKeyChar(t, text);
      else S_NormalTEdKeyChar(t, text);
      break;
    }
  }
  WGT_KeyHandled(w);
  if ((cmods & EVENT_MODSHIFT) && (t->Sel.Beg != selBeg || t->Sel.End != selEnd)) S_OfferPrimary(t);
}

// --- Mouse -------------------------------------------------------------------------------------

// Extends the selection from the anchor unit (a character, the word or the
// line clicked) to the unit at pos.
void S_SelectUnits(TEdPtr t, Int32 anchorBeg, Int32 anchorEnd, Int32 pos) {
  Int32 b = pos, e = pos;
  if (t->ClickCount == 2) S_WordAt(t, pos, &b, &e);
  else if (t->ClickCount >= 3) S_LineAt(t, pos, &b, &e);
  TEdSelRec old = t->Sel;
  if (b >= anchorBeg) t->Sel = TEdSelRec{anchorBeg, e > anchorEnd ? e : anchorEnd, 1};
  else t->Sel = TEdSelRec{b, anchorEnd, 0};
  t->Anchor = t->Sel.L2R ? t->Sel.Beg : t->Sel.End;
  t->GoalX = -1;
  if (old.Beg != t->Sel.Beg || old.End != t->Sel.End || old.L2R != t->Sel.L2R) S_Inval(t);
}

void S_MouseSelect(TEdPtr t) {
  WgtPtr w = W(t);
  EventPtr ev = EVENT_GetCurEvent();
  _Point16Rec loc;
  EVENT_QueryWgtLoc(w, &loc);
  Int32 pos = TED_LocGetIndex(t, loc);
  int64_t now = ev->MouseTime;
  if (ev->IsDouble) t->ClickCount = (t->ClickCount >= 2 && now - t->LastClickTime < kTripleClickMs) ? 3 : 2;
  else t->ClickCount = 1;
  t->LastClickTime = now;
  Int32 ab, ae;
  if ((EVENT_GetKbMods() & EVENT_MODSHIFT) && t->ClickCount == 1) {
    ab = ae = t->Anchor;
  } else if (t->ClickCount == 1) {
    ab = ae = pos;
  } else if (t->ClickCount == 2) {
    S_WordAt(t, pos, &ab, &ae);
  } else {
    if (multiLine(t)) S_LineAt(t, pos, &ab, &ae);
    else ab = 0, ae = textLen(t);
  }
  if (t->ClickCount >= 3 && !multiLine(t)) {
    t->Sel = TEdSelRec{ab, ae, 1};
    t->Anchor = ab;
    S_Inval(t);
  } else {
    S_SelectUnits(t, ab, ae, pos);
  }
  // Drag: the selection follows the pointer, and the text scrolls when it
  // leaves the field.
  EVENT_TrackDownBegin(w);
  t->Tracking = 1;
  while (EVENT_TrackDown(w)) {
    EVENT_QueryWgtLoc(w, &loc);
    Int32 p = TED_LocGetIndex(t, loc);
    if (t->ClickCount >= 3 && !multiLine(t)) continue;
    S_SelectUnits(t, ab, ae, p);
    S_ShowInsert(t);
  }
  EVENT_TrackDownEnd(w);
  t->Tracking = 0;
  S_PostShowInsert(t);
  S_OfferPrimary(t);
}

void S_MouseClick(TEdPtr t) {
  WgtPtr w = W(t);
  Int button = EVENT_GetButton();
  if (!WGT_CanProcessEvent(w)) return;
  if (button == EVENT_BUT1) {
    WGT_MouseHandled(w);
    // A field that the focus cannot reach (the one that has it refuses to
    // let go) takes no click.
    if (!WGT_GainFocus(w)) return;
    S_MouseSelect(t);
    return;
  }
  if (button == EVENT_BUT2) {
    WGT_MouseHandled(w);
    if (readOnly(t) || maskMode(t)) return;
    WGT_GainFocus(w);
    _Point16Rec loc;
    EVENT_QueryWgtLoc(w, &loc);
    t->PastePos = TED_LocGetIndex(t, loc);
    if (t->PasteState != kPasteNone) DSPLY_CancelSelectionRequests(t);
    t->PasteState = kPastePrimary;
    TEdStartPaste(t, DSPLY_SELPRIMARY);
  }
}

// --- Focus ---------------------------------------------------------------------------------------

void S_FocusGained(TEdPtr t) {
  WgtPtr w = W(t);
  EVENT_ProcessWgtRecal(w);
  t->Highlit = 1;
  if (t->OptFlags & TED_OPTSELECTALLONFOCUS) {
    // Not when a click on this editor brings the focus: the click places
    // the caret.
    bool byClick = EVENT_GetCurEventType() == EVENT_TYPEBUTTONPRESS && w->Panel && w->Panel->MouseWgt == w;
    if (!byClick) TED_SelectAll(t);
  }
  S_ShowCursor(t);
  S_Inval(t);
}

void S_FocusLost(TEdPtr t) {
  S_HideCursor(t);
  t->Highlit = 0;
  S_Inval(t);
}

// --- Paste -----------------------------------------------------------------------------------------

void S_PasteDone(void* client, bool ok, const std::string& text) {
  TEdPtr t = static_cast<TEdPtr>(client);
  EVENT_StopWgtAlarm(W(t), kPasteAlarm);
  Int32 at = t->PasteState == kPastePrimary ? t->PastePos : -2;
  t->PasteState = kPasteNone;
  if (!ok || readOnly(t) || text.empty()) return;
  std::string s = S_Prepare(t, text.data(), text.size());
  if (at >= -1) S_Replace(t, at, at, s);
  else S_ReplaceSel(t, s);
}

void S_Init(TEdPtr t) {
  WgtPtr w = W(t);
  SAREA_DefNfy(R(t), WGT_NFYINIT, nullptr);  // the widget and the bars
  if (!t->LabelFont) t->LabelFont = FONT_LoadByText(t->LabelFontName);
  if (!t->LabelFgColor) t->LabelFgColor = COLOR_LoadByText(t->LabelFgColorName);
  if (!t->LabelBgColor) t->LabelBgColor = COLOR_LoadByText(t->LabelBgColorName);
  if (!w->Cursor) w->Cursor = CURS_IBeam();
  if (textLen(t) == 0 && t->InitialText && *t->InitialText) {
    std::string s = S_Prepare(t, t->InitialText, std::strlen(t->InitialText));
    if (t->MaxLen > 0 && s.size() > static_cast<size_t>(t->MaxLen))
      s.resize(GSTR_Utf8Prefix(s.data(), s.size(), static_cast<size_t>(t->MaxLen)));
    GSTR_Insert(t->Text, 0, s.data(), static_cast<Int32>(s.size()));
    t->Sel = TEdSelRec{0, 0, 1};
  }
  t->LayStale = 1;
}

void S_Construct(ResPtr res, ResConstructPtr params) {
  if (params->Mode == RES_MODECOPY) return;
  TEdPtr t = reinterpret_cast<TEdPtr>(res);
  t->Text = GSTR_New();
  t->Lay = nullptr;
  t->Sel = TEdSelRec{0, 0, 1};
  t->Anchor = 0;
  t->GoalX = -1;
  t->Overstrike = t->CaretShown = t->Highlit = t->Tracking = 0;
  t->LayStale = 1;
  t->LabelFont = nullptr;
  t->LabelFgColor = t->LabelBgColor = nullptr;
  t->ClickCount = 0;
  t->LastClickTime = 0;
  t->PasteState = kPasteNone;
  t->PastePos = -1;
  W(t)->WgtFlags |= WGT_FLAGTABSTOP;
}

void S_Destruct(ResPtr res) {
  TEdPtr t = reinterpret_cast<TEdPtr>(res);
  DSPLY_CancelSelectionRequests(t);
  TWLAY_Dispose(t->Lay);
  t->Lay = nullptr;
  GSTR_Dispose(t->Text);
  t->Text = nullptr;
}

}  // namespace

void TEdStartPaste(TEdPtr t, int which) {
  DSPLY_RequestSelection(which, S_PasteDone, t, pasteTimeoutMs());
  EVENT_StopWgtAlarm(W(t), kPasteAlarm);
  EVENT_StartWgtAlarm(W(t), kPasteAlarm, kPastePollMs);
}

// --- Class ----------------------------------------------------------------------------------------

RClasPtr TED_Class() { return sTEd; }

void TED_InstallClass() {
  SAREA_InstallClass();
  sTEd = WgtRegisterClass("TEd", "TEd", SAREA_Class(), sTEdFields, static_cast<Int>(sizeof(_TEdObj)), S_Construct,
                          S_Destruct, TED_DefNfy);
}

void TED_InitClass() {}

TEdPtr TED_Create() { return reinterpret_cast<TEdPtr>(RES_Create(sTEd)); }

BoolEnum TED_IsTEd(WgtPtr wgt) { return wgt && sTEd && RCLAS_IsSubClassOf(WGT_Res(wgt)->ResClass, sTEd); }

long TED_DefNfy(ResPtr res, Int message, ClientPtr data) {
  TEdPtr t = reinterpret_cast<TEdPtr>(res);
  WgtPtr w = W(t);
  switch (message) {
    case WGT_NFYINIT:
      S_Init(t);
      return 0;
    case WGT_NFYREDRAW:
      S_Redraw(t);
      return 0;
    case WGT_NFYRESIZE:
    case WGT_NFYSIZEINIT:
      SAREA_DefNfy(res, message, data);
      t->LayStale = 1;
      S_PostShowInsert(t);
      S_Inval(t);
      return 0;
    case WGT_NFYRECAL: {
      UInt16 flags = w->RecalFlag;
      w->RecalFlag = 0;
      if (flags & TED_RECALLAYOUT) S_Lay(t);
      if (flags & TED_RECALSHOWINSERT) S_ShowInsert(t);
      S_Inval(t);
      return 0;
    }
    case WGT_NFYSETCURSOR: {
      _Point16Rec loc;
      EVENT_QueryWgtLoc(w, &loc);
      _Rect16Rec f = S_FieldBox(t);
      bool onText = RECT16_Contains(f, loc.X, loc.Y);
      for (SbPtr bar : {TED_SArea(t)->HSb, TED_SArea(t)->VSb})
        if (!SB_Wgt(bar)->Invisible && RECT16_Contains(SB_Wgt(bar)->Box, loc.X, loc.Y)) onText = false;
      WGT_UseCursor(w, onText ? CURS_IBeam() : CURS_Arrow());
      WGT_CursorHandled(w);
      return 0;
    }
    case WGT_NFYMOUSECLICK:
      // The bars and the wheel first; a single-line editor leaves the
      // wheel to what lies under it.
      if (multiLine(t) && WGT_CanProcessEvent(w)) {
        SAREA_DefNfy(res, message, data);
        if (WGT_IsMouseHandled()) return 0;
      }
      S_MouseClick(t);
      if (!WGT_IsMouseHandled()) return WGT_DefNfy(res, message, data);
      return 0;
    case WGT_NFYMOUSEMOVE:  // the bars light their parts
      return SAREA_DefNfy(res, message, data);
    case WGT_NFYKEYACCEL:
      if (WGT_HasFocus(w, 0) && WGT_CanProcessEvent(w) && S_KeyAccel(t)) WGT_KeyHandled(w);
      return 0;
    case WGT_NFYKEYCHAR:
      if (WGT_CanProcessEvent(w)) S_KeyChar(t);
      return 0;
    case WGT_NFYFOCUSGAINED:
      S_FocusGained(t);
      return WGT_DefNfy(res, message, data);
    case WGT_NFYFOCUSLOST:
      S_FocusLost(t);
      return WGT_DefNfy(res, message, data);
    case WGT_NFYENABLE:
    case WGT_NFYDISABLE:
      S_Inval(t);
      return WGT_DefNfy(res, message, data);
    case WGT_NFYTIMEOUT:
      if (data && static_cast<EventPtr>(data)->AlarmData == kPasteAlarm) {
        DSPLY_ExpireSelectionRequests();
        // The alarm runs again while the paste waits.
        if (t->PasteState != kPasteNone) EVENT_StartWgtAlarm(w, kPasteAlarm, kPastePollMs);
        return 0;
      }
      return WGT_DefNfy(res, message, data);
    case WGT_NFYEND:
      DSPLY_CancelSelectionRequests(t);
      t->PasteState = kPasteNone;
      t->CaretShown = 0;
      t->Highlit = 0;
      return SAREA_DefNfy(res, message, data);
    case TED_NFYVALIDATE:
    case TED_NFYSHOWCURSOR:
    case TED_NFYHIDECURSOR:
    case TED_NFYFULL:
    case SAREA_NFYDRAWPART:
    case SAREA_NFYSCROLLED:
    case SAREA_NFYLAYOUT:
      return 0;
    default:
      return WGT_DefNfy(res, message, data);
  }
}

void TED_Describe(WgtPtr wgt, AutomDesc* desc) {
  TEdPtr t = TED_FromWgt(wgt);
  AUTOM_SetText(desc, TED_GetStr(t));
  AUTOM_SetSelected(desc, t->Sel.End > t->Sel.Beg);
}

// --- Text -------------------------------------------------------------------------------------------

const char* TED_GetStr(TEdPtr ted) { return ted ? GSTR_2Str(ted->Text) : ""; }
Int32 TED_GetStrLen(TEdPtr ted) { return ted ? textLen(ted) : 0; }

void TED_ClearAll(TEdPtr ted) {
  if (!ted) return;
  S_HideCursor(ted);
  bool hadFocus = WGT_HasFocus(W(ted), 0);
  GSTR_Clear(ted->Text);
  if (ted->Lay) TWLAY_Recompute(ted->Lay);
  ted->Sel = TEdSelRec{0, 0, 1};
  ted->Anchor = 0;
  SAREA_ScrollTo(TED_SArea(ted), 0, 0);
  ted->GoalX = -1;
  S_Inval(ted);
  if (hadFocus) S_ShowCursor(ted);
}

void TED_SetStr(TEdPtr ted, const char* text) {
  if (!ted || maskMode(ted)) return;
  TED_ClearAll(ted);
  TED_InsertStr(ted, text);
}

void TED_SetVStr(TEdPtr ted, VStrPtr text) { TED_SetStr(ted, VSTR_Get(text)); }

void TED_SetResStr(TEdPtr ted, const char* module, const char* name) {
  if (const char* text = STRR_FindStr(module, name)) TED_SetStr(ted, text);
}

namespace {
std::string vformat(const char* format, va_list args) {
  va_list copy;
  va_copy(copy, args);
  int n = std::vsnprintf(nullptr, 0, format, copy);
  va_end(copy);
  if (n <= 0) return std::string();
  std::string out(static_cast<size_t>(n) + 1, '\0');
  std::vsnprintf(&out[0], out.size(), format, args);
  out.resize(static_cast<size_t>(n));
  return out;
}
}  // namespace

void TED_SetStrf(TEdPtr ted, const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::string s = vformat(format, args);
  va_end(args);
  TED_SetStr(ted, s.c_str());
}

void TED_InsertStrf(TEdPtr ted, const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::string s = vformat(format, args);
  va_end(args);
  TED_InsertStr(ted, s.c_str());
}

char* TED_QueryStr(TEdPtr ted, char* buffer, size_t size) {
  if (!buffer || size == 0) return buffer;
  const char* text = TED_GetStr(ted);
  size_t n = GSTR_Utf8Prefix(text, std::strlen(text), size - 1);
  std::memcpy(buffer, text, n);
  buffer[n] = 0;
  return buffer;
}

void TED_QueryVStr(TEdPtr ted, VStrPtr* out) {
  if (out) VSTR_Set(out, TED_GetStr(ted));
}

VStrPtr TED_GetHugeStr(TEdPtr ted) { return VSTR_New(TED_GetStr(ted)); }

void TED_InsertStr(TEdPtr ted, const char* text) {
  if (!ted || maskMode(ted) || !text) return;
  S_ReplaceSel(ted, S_Prepare(ted, text, std::strlen(text)));
}

void TED_ReplaceRange(TEdPtr ted, Int32 beg, Int32 end, const char* text) {
  if (!ted || maskMode(ted)) return;
  S_Replace(ted, beg, end, S_Prepare(ted, text ? text : "", text ? std::strlen(text) : 0));
}

// --- Numbers --------------------------------------------------------------------------------------------

namespace {
template <class T>
T parseNumber(TEdPtr ted, BoolEnum* ok) {
  const char* text = TED_GetStr(ted);
  while (*text == ' ' || *text == '\t') text++;
  errno = 0;
  char* end = nullptr;
  bool isSigned = static_cast<T>(-1) < static_cast<T>(0);
  long long v = 0;
  unsigned long long u = 0;
  if (isSigned) v = std::strtoll(text, &end, 10);
  else if (*text != '-') u = std::strtoull(text, &end, 10);
  bool good = end && end != text && errno == 0;
  if (good) {
    while (*end == ' ' || *end == '\t') end++;
    good = *end == 0;
  }
  if (good && isSigned) good = v >= static_cast<long long>(std::numeric_limits<T>::min()) &&
                               v <= static_cast<long long>(std::numeric_limits<T>::max());
  if (good && !isSigned) good = u <= static_cast<unsigned long long>(std::numeric_limits<T>::max());
  if (ok) *ok = good ? 1 : 0;
  if (!good) return 0;
  return isSigned ? static_cast<T>(v) : static_cast<T>(u);
}

template <class T>
std::string numberText(T value) {
  return std::to_string(value);
}
}  // namespace

#define TED_DEFINE_NUMBER(Name, Type)                                                              \
  Type TED_Get##Name(TEdPtr ted, BoolEnum* ok) { return parseNumber<Type>(ted, ok); }              \
  void TED_Set##Name(TEdPtr ted, Type value) { TED_SetStr(ted, numberText(value).c_str()); }       \
  void TED_Insert##Name(TEdPtr ted, Type value) { TED_InsertStr(ted, numberText(value).c_str()); }
TED_NUMBER_FAMILY(TED_DEFINE_NUMBER)
#undef TED_DEFINE_NUMBER

// --- Selection ------------------------------------------------------------------------------------------

void TED_QuerySelRange(TEdPtr ted, TEdSelRec* sel) {
  if (ted && sel) *sel = ted->Sel;
}

void TED_SetSelRange(TEdPtr ted, const TEdSelRec* sel) {
  if (!ted || !sel) return;
  Int32 b = S_Clamp(ted, sel->Beg), e = S_Clamp(ted, sel->End);
  if (e < b) std::swap(b, e);
  ted->Sel = TEdSelRec{b, e, sel->L2R ? 1 : 0};
  ted->Anchor = sel->L2R ? b : e;
  ted->GoalX = -1;
  S_Inval(ted);
  S_PostShowInsert(ted);
}

void TED_SelectRange(TEdPtr ted, Int32 beg, Int32 end) {
  TEdSelRec sel{beg, end, 1};
  TED_SetSelRange(ted, &sel);
}

void TED_SelectAll(TEdPtr ted) {
  if (!ted) return;
  // With no mask format, mask mode selects the whole text too.
  TEdSelRec sel{0, -1, 1};
  TED_SetSelRange(ted, &sel);
}

void TED_SelectNone(TEdPtr ted) {
  if (ted) TED_SetInsertPos(ted, S_Caret(ted));
}

void TED_SetInsertPos(TEdPtr ted, Int32 index) {
  if (!ted) return;
  Int32 pos = S_Clamp(ted, index);
  ted->Sel = TEdSelRec{pos, pos, 1};
  ted->Anchor = pos;
  ted->GoalX = -1;
  S_Inval(ted);
  S_PostShowInsert(ted);
}

Int32 TED_GetInsertPos(TEdPtr ted) { return ted ? S_Caret(ted) : 0; }

VStrPtr TED_GetSelStr(TEdPtr ted) {
  if (!ted) return VSTR_New("");
  std::string s;
  GSTR_CopyRange(ted->Text, ted->Sel.Beg, ted->Sel.End, &s);
  return VSTR_NewLen(s.data(), s.size());
}

// --- Clipboard ------------------------------------------------------------------------------------------

void TED_SelCopy(TEdPtr ted) {
  if (!ted || ted->Sel.End <= ted->Sel.Beg) return;
  std::string s;
  GSTR_CopyRange(ted->Text, ted->Sel.Beg, ted->Sel.End, &s);
  DSPLY_OwnSelection(DSPLY_SELCLIPBOARD, s);
}

void TED_SelCut(TEdPtr ted) {
  if (!ted || ted->Sel.End <= ted->Sel.Beg) return;
  TED_SelCopy(ted);
  if (!readOnly(ted) && !maskMode(ted)) S_ReplaceSel(ted, std::string());
}

void TED_SelPaste(TEdPtr ted) {
  if (!ted || readOnly(ted) || maskMode(ted)) return;
  if (ted->PasteState != kPasteNone) DSPLY_CancelSelectionRequests(ted);
  ted->PasteState = kPasteClipboard;
  TEdStartPaste(ted, DSPLY_SELCLIPBOARD);
}

BoolEnum TED_IsPasting(TEdPtr ted) { return ted && ted->PasteState != kPasteNone; }

// --- Options --------------------------------------------------------------------------------------------

void TED_ToggleOverstrikeMode(TEdPtr ted) {
  if (!ted) return;
  ted->Overstrike = !ted->Overstrike;
  S_Inval(ted);
}

BoolEnum TED_IsInOverstrikeMode(TEdPtr ted) { return ted && ted->Overstrike; }

void TED_SetMaxLen(TEdPtr ted, Int32 maxLen) {
  if (ted) ted->MaxLen = maxLen < 0 ? 0 : maxLen;
}

Int32 TED_GetMaxLen(TEdPtr ted) { return ted ? ted->MaxLen : 0; }

void TED_SetJustif(TEdPtr ted, UInt16 justif) {
  if (!ted || ted->Justif == justif) return;
  ted->Justif = justif;
  S_Inval(ted);
}

void TED_SetOptFlags(TEdPtr ted, UInt16 flags) {
  if (!ted || ted->OptFlags == flags) return;
  ted->OptFlags = flags;
  ted->LayStale = 1;
  S_PostShowInsert(ted);
  S_Inval(ted);
}

UInt16 TED_GetOptFlags(TEdPtr ted) { return ted ? ted->OptFlags : 0; }

void TED_SetLabel(TEdPtr ted, const char* label) {
  if (!ted) return;
  VSTR_Set(&ted->Label, label);
  ted->LayStale = 1;
  S_PostShowInsert(ted);
  S_Inval(ted);
}

const char* TED_GetLabel(TEdPtr ted) { return ted ? VSTR_Get(ted->Label) : ""; }

// --- Geometry -------------------------------------------------------------------------------------------

Int32 TED_LocGetIndex(TEdPtr ted, _Point16Rec loc) {
  if (!ted) return 0;
  TWLayPtr lay = S_Lay(ted);
  int lineH = S_LineH(ted);
  int y = loc.Y - S_TextTop(ted) + S_ScrollY(ted);
  Int32 line = y < 0 ? 0 : y / lineH;
  Int32 count = TWLAY_GetNumLines(lay);
  if (line >= count) line = count - 1;
  if (!multiLine(ted)) line = 0;
  const TWLayLine& l = TWLAY_GetLine(lay, line);
  return TWLAY_IndexAtX(lay, line, loc.X - S_LineLeft(ted, l) + S_ScrollX(ted));
}

BoolEnum TED_IndexQueryLoc(TEdPtr ted, Int32 index, _Point16Rec* loc) {
  if (!ted) return 0;
  TWLayPtr lay = S_Lay(ted);
  Int32 pos = S_Clamp(ted, index);
  Int32 line = TWLAY_LineOfIndex(lay, pos);
  const TWLayLine& l = TWLAY_GetLine(lay, line);
  int x = S_LineLeft(ted, l) - S_ScrollX(ted) + TWLAY_IndexX(lay, pos);
  int y = S_TextTop(ted) - S_ScrollY(ted) + line * S_LineH(ted);
  if (loc) *loc = _Point16Rec{static_cast<int16_t>(x), static_cast<int16_t>(y)};
  _Rect16Rec tb = TEdQueryTextBox(ted);
  return x >= tb.Origin.X && x <= tb.Origin.X + tb.Extent.X && y >= tb.Origin.Y &&
         y + S_LineH(ted) <= tb.Origin.Y + tb.Extent.Y + 1;
}

Int32 TEdGetNumLines(TEdPtr ted) { return ted ? TWLAY_GetNumLines(S_Lay(ted)) : 0; }
